add_library(twainui_driver STATIC
  sane_driver.cpp
)
target_include_directories(twainui_driver PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(twainui_driver PUBLIC twainui_headers VelBase)
