# velmora_qml_module(TARGET URI … [DEPENDENCIES …] QML_FILES … [SOURCES …]): makes the library TARGET a QML module too, linked into the program;
# a file lies at qrc:/URI-with-slashes/its path. SOURCES are those with types for QML. What links it has to call something in it.
function(velmora_qml_module target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "URI" "DEPENDENCIES;QML_FILES;SOURCES")
    string(REPLACE "." "/" path ${arg_URI})
    set_target_properties(${target} PROPERTIES AUTOMOC ON)
    qt_add_qml_module(${target}
        URI ${arg_URI} VERSION 1.0 RESOURCE_PREFIX / NO_PLUGIN
        OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/${path} IMPORT_PATH ${CMAKE_BINARY_DIR}/qml
        DEPENDENCIES QtQuick ${arg_DEPENDENCIES}
        QML_FILES ${arg_QML_FILES}
        SOURCES ${arg_SOURCES})
    # The registration of the types includes their headers by name only.
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    # Generated code is not held to our warnings.
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "/\\.rcc/|_qmltyperegistrations\\.cpp$")
    set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -w)
endfunction()
