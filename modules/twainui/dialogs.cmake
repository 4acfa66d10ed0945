add_library(twainui_dialogs STATIC
  zy_settingdialog.cpp
  zy_settingdialog_values.cpp
  zy_settingdialog_roundtrip.cpp
  zy_settingdialog_close.cpp
)
target_link_libraries(twainui_dialogs PUBLIC twainui_config twainui_driver lexipak Qt5::Widgets)
