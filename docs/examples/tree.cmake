set(links files)
set(arguments ${CMAKE_CURRENT_SOURCE_DIR})
