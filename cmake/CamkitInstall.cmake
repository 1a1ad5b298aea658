include(CMakePackageConfigHelpers)

install(TARGETS camkit camkit_static EXPORT camkitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/camkit.h ${PROJECT_SOURCE_DIR}/include/camkit_plugin.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/data/ DESTINATION ${CMAKE_INSTALL_DATADIR}/camkit)

install(EXPORT camkitTargets NAMESPACE camkit:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/camkit)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/camkitConfig.cmake.in
  ${PROJECT_BINARY_DIR}/camkitConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/camkit)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/camkitConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/camkitConfig.cmake ${PROJECT_BINARY_DIR}/camkitConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/camkit)

# Static consumers also link the libraries of the optional features built in.
# pkg-config wants blanks around a version comparison ("libtiff-4 >= 4.5").
string(REGEX REPLACE "([^ ])(>=|<=|=)([^ ])" "\\1 \\2 \\3" CAMKIT_PC_REQUIRES "${CAMKIT_FEATURE_MODULES}")
string(REPLACE ";" ", " CAMKIT_PC_REQUIRES "${CAMKIT_PC_REQUIRES}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/camkit.pc.in ${PROJECT_BINARY_DIR}/camkit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/camkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
