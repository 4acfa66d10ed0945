# Debian packages, one per install component: `cpack -G DEB` in the build directory.
# Configure with -DCMAKE_INSTALL_PREFIX=/usr for Debian's multiarch library directory.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veltwainui)
set(CPACK_PACKAGE_VENDOR "Velmar")
set(CPACK_PACKAGE_CONTACT "VelTwainUI developers <veltwainui@velmar.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(VEL_BUILD_EXAMPLES)
  list(APPEND CPACK_COMPONENTS_ALL velscan)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
# Dependencies of what is linked come from dpkg-shlibdeps; what is only dlopened
# or included is named below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libveltwainui${VEL_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libveltwainui-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libsane-dev")

set(CPACK_DEBIAN_VELSCAN_PACKAGE_NAME velscan)
set(CPACK_DEBIAN_VELSCAN_PACKAGE_SECTION graphics)
# The library and SANE's test backend are loaded at run time.
set(CPACK_DEBIAN_VELSCAN_PACKAGE_DEPENDS "libsane1")

include(CPack)

# Debian's changelog for each package, and why the runtime carries libVelTwainUI.so.
# Only the packages get them: a plain install leaves them out.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(deb_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(pkg ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(doc ${CMAKE_CURRENT_BINARY_DIR}/debian/${pkg})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${doc}/changelog.Debian @ONLY)
  execute_process(COMMAND gzip -9nf ${doc}/changelog.Debian)
  install(FILES ${doc}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${pkg}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
set(pkg ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME})
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/libveltwainui.lintian-overrides.in
  ${CMAKE_CURRENT_BINARY_DIR}/debian/${pkg}.lintian-overrides @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/${pkg}.lintian-overrides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${pkg}
        COMPONENT runtime EXCLUDE_FROM_ALL)

cpack_add_component(runtime
  DISPLAY_NAME "VelTwainUI runtime"
  DESCRIPTION "User interface library for scanner drivers
libVelTwainUI draws the windows of a scanner's TWAIN data source or SANE
front end: the scan-settings dialog built from the device's SANE options,
named configuration schemes, progress and message boxes. Hosts load it as
libVelTwainUI.so. The package also holds the base and language libraries
that it uses.")
cpack_add_component(development
  DISPLAY_NAME "VelTwainUI development files"
  DEPENDS runtime
  DESCRIPTION "User interface library for scanner drivers - development files
The public header of libVelTwainUI, its CMake package
(find_package(VelTwainUI), target VelTwainUI::VelTwainUI) and its
pkg-config file (veltwainui).")
cpack_add_component(velscan
  DISPLAY_NAME "velscan"
  DEPENDS runtime
  DESCRIPTION "Example SANE front end for libVelTwainUI
velscan opens a device of SANE's test backend and shows its settings
through libVelTwainUI, loaded at run time as a host loads it.")
