include(CMakePackageConfigHelpers)

# The one name that a program links to; it brings the folders' libraries in their order.
add_library(tlkc2 INTERFACE)
add_library(TlkC2::TlkC2 ALIAS tlkc2)
set_target_properties(tlkc2 PROPERTIES EXPORT_NAME TlkC2)
target_link_libraries(tlkc2 INTERFACE tlkc2_control)

get_property(libraries GLOBAL PROPERTY TLKC2_LIBRARIES)
install(TARGETS tlkc2 ${libraries} EXPORT TlkC2Targets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tlk RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

foreach(folder platform thread log xml transport control)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/TlkC2
    FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT TlkC2Targets NAMESPACE TlkC2::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TlkC2)
configure_package_config_file(cmake/TlkC2Config.cmake.in TlkC2Config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TlkC2)
write_basic_package_version_file(TlkC2ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TlkC2Config.cmake ${PROJECT_BINARY_DIR}/TlkC2ConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TlkC2)
