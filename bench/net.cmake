# What goes over the net, or would.
find_package(PkgConfig REQUIRED)
pkg_check_modules(strophe REQUIRED IMPORTED_TARGET libstrophe)

tlkc2_add_comparison(receive SOURCES receive.cpp StropheClient.cpp
  LINK tlkc2_control PkgConfig::strophe)
tlkc2_add_comparison(roundtrip SOURCES roundtrip.cpp LINK tlkc2_control)
tlkc2_add_comparison(large SOURCES large.cpp LINK tlkc2_control ${TLKC2_PUGIXML})
tlkc2_add_comparison(idle SOURCES idle.cpp LINK tlkc2_control)

# A script that stands beside the others, and measures the program.
configure_file(tap.py compare_tap COPYONLY)
add_custom_target(compare_tap DEPENDS tlk)
