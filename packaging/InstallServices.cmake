# Installs what names the program's path (`program`) or goes outside the prefix. Files of the system's configuration belong in /etc when
# the prefix is /usr, as in the GNU coding standards' sysconfdir.

configure_file("${source}/com.velmora.Velmora.service.in" "$ENV{DESTDIR}${services}/com.velmora.Velmora.service" @ONLY)
message(STATUS "Installing: $ENV{DESTDIR}${services}/com.velmora.Velmora.service")

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(configuration "/etc")
else()
    set(configuration "${CMAKE_INSTALL_PREFIX}/etc")
endif()
file(INSTALL "${source}/com.velmora.Velmora.autostart.desktop" DESTINATION "${configuration}/xdg/autostart"
    RENAME com.velmora.Velmora.desktop)
