# What other projects find the toolkits by: find_package(kelvane) and pkg-config, each toolkit with what it uses itself.
# The target `toolkits` builds all that `cmake --install FOLDER --component toolkits` installs.
include(CMakePackageConfigHelpers)
set(place ${CMAKE_INSTALL_LIBDIR}/cmake/kelvane)

# <alias in our targets>=<pkg-config names>, and our own libraries in the order of linking
set(animation_modules curl=libcurl glib=glib-2.0)
set(files_modules ${animation_modules})
set(util_modules ${animation_modules} cairo=cairo harfbuzz=harfbuzz png=libpng turbojpeg=libturbojpeg x11=x11,xext,xi)
foreach(backend CURL CAIRO HARFBUZZ X11)
    if(NOT KELVANE_${backend})
        string(TOLOWER ${backend} name)
        foreach(toolkit animation files util)
            list(FILTER ${toolkit}_modules EXCLUDE REGEX "^${name}=")
        endforeach()
    endif()
endforeach()
set(animation_libraries platform_foundation platform_dispatch)
set(files_libraries ${animation_libraries})
set(util_libraries platform_uikit platform_coregraphics platform_audiotoolbox ${animation_libraries})

add_custom_target(toolkits DEPENDS animation files util)
file(RELATIVE_PATH prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(toolkit animation files util)
    list(TRANSFORM ${toolkit}_modules REPLACE "^[^=]*=" "" OUTPUT_VARIABLE requires)
    string(REGEX REPLACE "[;,]" " " requires "${requires}")
    list(TRANSFORM ${toolkit}_libraries PREPEND -l OUTPUT_VARIABLE libraries)
    list(JOIN libraries " " libraries)
    set(libraries "-l${toolkit} ${libraries}")
    configure_file(cmake/kelvane.pc.in kelvane-${toolkit}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/kelvane-${toolkit}.pc COMPONENT toolkits
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

configure_file(cmake/kelvane-config.cmake.in kelvane-config.cmake @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kelvane-config-version.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT kelvane-targets NAMESPACE kelvane:: COMPONENT toolkits DESTINATION ${place})
install(FILES ${CMAKE_BINARY_DIR}/kelvane-config.cmake ${CMAKE_BINARY_DIR}/kelvane-config-version.cmake
        COMPONENT toolkits DESTINATION ${place})
