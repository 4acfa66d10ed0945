add_library(twainui_config STATIC
  gb_json.cpp
  app_cfg.cpp
  ZyUIGlobal.cpp
)
target_include_directories(twainui_config PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(twainui_config PUBLIC VelBase Qt5::Core PkgConfig::CJSON)
