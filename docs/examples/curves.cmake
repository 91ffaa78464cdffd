set(links animation platform_coregraphics)
set(arguments ${CMAKE_CURRENT_BINARY_DIR}/curves.png)
