# For find_package(kelvane): the targets kelvane::<library>, and the Debian libraries that they stand on.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(curl REQUIRED IMPORTED_TARGET GLOBAL libcurl)
pkg_check_modules(glib REQUIRED IMPORTED_TARGET GLOBAL glib-2.0)
pkg_check_modules(icu REQUIRED IMPORTED_TARGET GLOBAL icu-i18n icu-uc)
include(${CMAKE_CURRENT_LIST_DIR}/kelvane-targets.cmake)
