find_library(GIF_LIBRARY gif REQUIRED)
set(links animation platform_uikit ${GIF_LIBRARY})
set(arguments ${CMAKE_CURRENT_BINARY_DIR}/animated_view.gif)
