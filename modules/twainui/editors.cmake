# The tone-curve editor and the crop tool. An object library, so that the
# classes are part of the shared library and tests can link them directly.
add_library(twainui_editors OBJECT
  widget.cpp
  widget.ui
  gaosixy.cpp
  setpicclrtool.cpp
  setpicclrtool.ui
  tonecurverecord.cpp
  cutdialog.cpp
  cutpapertool.cpp
  cutpapertool.ui
)
target_include_directories(twainui_editors PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(twainui_editors PUBLIC VelBase Qt5::Widgets)
