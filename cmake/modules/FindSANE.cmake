# Finds the SANE API header, sane/sane.h, through pkg-config's sane-backends with a
# plain search as fallback.
#
#   SANE::Headers      imported target with the include directory only: a program
#                      that reaches drivers through their entry points needs no libsane
#   SANE_INCLUDE_DIR   the directory that holds sane/sane.h
#   SANE_VERSION       as pkg-config reports it, when it does
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(PC_SANE QUIET sane-backends)
endif()

find_path(SANE_INCLUDE_DIR sane/sane.h HINTS ${PC_SANE_INCLUDEDIR} ${PC_SANE_INCLUDE_DIRS})
set(SANE_VERSION ${PC_SANE_VERSION})

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(SANE REQUIRED_VARS SANE_INCLUDE_DIR VERSION_VAR SANE_VERSION)

if(SANE_FOUND AND NOT TARGET SANE::Headers)
  add_library(SANE::Headers INTERFACE IMPORTED)
  set_target_properties(SANE::Headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${SANE_INCLUDE_DIR}")
endif()
mark_as_advanced(SANE_INCLUDE_DIR)
