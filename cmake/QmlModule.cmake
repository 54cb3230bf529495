# velmora_qml_module(TARGET URI … [DEPENDENCIES …] QML_FILES … [SOURCES …]): makes the library TARGET a QML module too, linked into the program;
# a file is at qrc:/URI-with-slashes/its path. SOURCES are those with types for QML. What links it has to call something in it.
function(velmora_qml_module target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "URI" "DEPENDENCIES;QML_FILES;SOURCES")
    string(REPLACE "." "/" path ${arg_URI})
    set_target_properties(${target} PROPERTIES AUTOMOC ON)
    # From Qt 6.8 on it would rather make a qmldir for each folder with QML files; each of ours is one module all the same.
    if(QT_KNOWN_POLICY_QTP0004)
        qt_policy(SET QTP0004 OLD)
    endif()
    qt_add_qml_module(${target}
        URI ${arg_URI} VERSION 1.0 RESOURCE_PREFIX / NO_PLUGIN
        OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/${path} IMPORT_PATH ${CMAKE_BINARY_DIR}/qml
        DEPENDENCIES QtQuick ${arg_DEPENDENCIES}
        QML_FILES ${arg_QML_FILES}
        SOURCES ${arg_SOURCES})
    # The registration of the types includes their headers by their bare names.
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    # The code of each QML file spends seconds on Qt's private headers and next to none on itself: it is compiled as one source.
    get_target_property(sources ${target} SOURCES)
    set(compiled_qml ${sources})
    list(FILTER compiled_qml INCLUDE REGEX "/\\.rcc/qmlcache/.*_qml\\.cpp$")
    set_source_files_properties(${compiled_qml} PROPERTIES HEADER_FILE_ONLY ON)
    set(all_qml "${CMAKE_CURRENT_BINARY_DIR}/${target}_qml.cpp")
    list(TRANSFORM compiled_qml REPLACE "^${CMAKE_CURRENT_BINARY_DIR}/(.*)$" "#include \"\\1\"\n" OUTPUT_VARIABLE includes)
    string(JOIN "" includes ${includes})
    file(CONFIGURE OUTPUT "${all_qml}" CONTENT "${includes}" @ONLY)
    set_source_files_properties("${all_qml}" PROPERTIES OBJECT_DEPENDS "${compiled_qml}" SKIP_AUTOGEN ON)
    target_sources(${target} PRIVATE "${all_qml}")
    # What finds that code is referred to by nothing. Newer versions of Qt have it compiled apart from our sources, and then it would not be
    # linked, and the QML be compiled again at run time. This is its function's name to the linker.
    set(finder qInitResources_qmlcache_${target})
    string(LENGTH ${finder} length)
    target_link_options(${target} INTERFACE "LINKER:--undefined=_Z${length}${finder}v")
    # Generated code need not meet our warnings.
    set(generated ${sources} "${all_qml}")
    list(FILTER generated INCLUDE REGEX "/\\.rcc/|_qmltyperegistrations\\.cpp$|_qml\\.cpp$")
    set_source_files_properties(${generated} PROPERTIES COMPILE_OPTIONS -w)
endfunction()
