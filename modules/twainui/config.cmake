add_library(twainui_config STATIC
  gb_json.cpp
  gb_base64.cpp
  gb_sane_config_schm.cpp
  gb_scanner_cfg.cpp
  gb_cfg_update.cpp
  app_cfg.cpp
  ZyUIGlobal.cpp
)
target_include_directories(twainui_config PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(twainui_config PUBLIC VelBase Qt5::Core PkgConfig::CJSON PRIVATE velbase_files)
