# The exports, the manager and the windows it builds. An object library, so that
# they are part of the shared library and tests can build the windows directly.
add_library(twainui_ui OBJECT
  twainui.cpp
  Manager.cpp
  zy_settingdialog.cpp
  zy_settingdialog_values.cpp
  zy_settingdialog_roundtrip.cpp
  zy_settingdialog_close.cpp
  zy_settingdialog_apply.cpp
  zy_settingdialog_schemes.cpp
  dialog_input.cpp dialog_input.ui
  device_menu.cpp
)
target_include_directories(twainui_ui PUBLIC ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(twainui_ui PUBLIC
  twainui_config twainui_driver VelBase lexipak Qt5::Widgets Threads::Threads)
