# The scan-time and selection dialogs and the image view, shared by the library and their tests.
add_library(twainui_dialogs STATIC
  dialog_progress_ui.cpp dialog_progress_ui.ui
  dialog_source_select.cpp dialog_source_select.ui
  dialog_twain_source_select.cpp dialog_twain_source_select.ui
  dialog_abnormal_img_select.cpp dialog_abnormal_img_select.ui
  dialog_device_select.cpp dialog_device_select.ui
  dialog_input.cpp dialog_input.ui
  ZyImgView.cpp
  ZyImgView_geometry.cpp
  ZyImgView_input.cpp
  ZyImgView_paint.cpp
)
set_target_properties(twainui_dialogs PROPERTIES AUTOMOC ON AUTOUIC ON)
target_include_directories(twainui_dialogs PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(twainui_dialogs PUBLIC Qt5::Widgets twainui_driver VelBase Threads::Threads)

# The exports, the manager and the windows it builds. An object library, so that
# they are part of the shared library and tests can build the windows directly.
add_library(twainui_ui OBJECT
  twainui.cpp
  Manager.cpp
  zy_settingdialog.cpp
  zy_settingdialog_values.cpp
  zy_settingdialog_roundtrip.cpp
  zy_settingdialog_close.cpp
  zy_settingdialog_tools.cpp
  zy_settingdialog_apply.cpp
  zy_settingdialog_schemes.cpp
  device_menu.cpp
)
target_include_directories(twainui_ui PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(twainui_ui PUBLIC
  twainui_headers twainui_dialogs twainui_config twainui_driver twainui_editors VelBase lexipak
  Qt5::Widgets Threads::Threads)
