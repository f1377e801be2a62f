# "platform/Version.h" and "platform/Export.h": what the build knows and sources ask for.
set(TLKC2_API "__attribute__((visibility(\"default\")))")
if(WIN32)
  set(TLKC2_API "")  # The module exports its four entry points, by its definition file.
endif()
configure_file(platform/Version.h.in ${PROJECT_BINARY_DIR}/generated/platform/Version.h @ONLY)
configure_file(platform/Export.h.in ${PROJECT_BINARY_DIR}/generated/platform/Export.h @ONLY)
