include(CMakePackageConfigHelpers)
include(cmake/PublicHeaders.cmake)

find_package(Threads REQUIRED)
find_package(pugixml REQUIRED)

# The folders' libraries as one, shared and static, under the names that programs link to.
get_property(folders GLOBAL PROPERTY TLKC2_LIBRARIES)
list(TRANSFORM folders REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
add_library(tlkc2_shared SHARED ${objects})
add_library(tlkc2_static STATIC ${objects})
set_target_properties(tlkc2_shared PROPERTIES
  EXPORT_NAME TlkC2 VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX)
set_target_properties(tlkc2_static PROPERTIES EXPORT_NAME Static LINKER_LANGUAGE CXX)
foreach(library tlkc2_shared tlkc2_static)
  set_target_properties(${library} PROPERTIES OUTPUT_NAME tlkc2)
  target_compile_features(${library} INTERFACE cxx_std_20)
  target_include_directories(${library} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${library} PRIVATE $<BUILD_INTERFACE:tlkc2_options> pugixml::pugixml Threads::Threads)
endforeach()
target_link_options(tlkc2_shared PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/tlkc2.map)
set_property(TARGET tlkc2_shared APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/tlkc2.map)

install(TARGETS tlkc2_shared EXPORT TlkC2Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS tlkc2_static EXPORT TlkC2Targets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS tlk RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tlk)
install(FILES tools/tlk/installed/completion.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tlk COMPONENT tlk)
# The program writes its own man pages; when it is installed, so that they bear the day that is wanted.
install(CODE "execute_process(COMMAND_ERROR_IS_FATAL ANY
  COMMAND \"${PROJECT_SOURCE_DIR}/tools/tlk/installed/make-man-pages.sh\" \"$<TARGET_FILE:tlk>\"
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1\")" COMPONENT tlk)
# Where the lnav and the Wireshark of this prefix look; those of /usr have their settings in /etc.
file(RELATIVE_PATH settings ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_SYSCONFDIR})
install(FILES tools/lnav/tlkc2.json DESTINATION ${settings}/lnav/formats/tlkc2 COMPONENT tlk)
install(FILES tools/wireshark/tlkc2.lua DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins COMPONENT tlk)
install(DIRECTORY ${public_include}/TlkC2 DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/TlkC2)
install(EXPORT TlkC2Targets NAMESPACE TlkC2:: DESTINATION ${package} COMPONENT development)
configure_package_config_file(cmake/TlkC2Config.cmake.in TlkC2Config.cmake INSTALL_DESTINATION ${package})
write_basic_package_version_file(TlkC2ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TlkC2Config.cmake ${PROJECT_BINARY_DIR}/TlkC2ConfigVersion.cmake
  DESTINATION ${package} COMPONENT development)

set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH to_prefix /${pkgconfig} /)
configure_file(cmake/tlkc2.pc.in tlkc2.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tlkc2.pc DESTINATION ${pkgconfig} COMPONENT development)
