find_package(spdlog REQUIRED)
tlkc2_add_comparison(logging
  SOURCES logging.cpp LogContestants.cpp LogDrain.cpp
  LINK tlkc2_log spdlog::spdlog)
