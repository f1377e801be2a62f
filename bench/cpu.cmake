# What the processor alone bounds: locks and references, the gate, building, and lists.
find_package(pugixml REQUIRED)
find_package(Boost REQUIRED COMPONENTS thread)
find_package(benchmark REQUIRED)

add_library(tlkc2_bench_messages STATIC Messages.cpp)
target_link_libraries(tlkc2_bench_messages PUBLIC tlkc2_xml PRIVATE tlkc2_options)

tlkc2_add_comparison(locks SOURCES locks.cpp LINK tlkc2_thread Boost::thread)
tlkc2_add_comparison(building SOURCES building.cpp LINK tlkc2_bench_messages ${TLKC2_PUGIXML})
tlkc2_add_comparison(gate SOURCES gate.cpp LINK tlkc2_bench_messages)
tlkc2_add_comparison(lists SOURCES lists.cpp LINK tlkc2_bench_messages)
tlkc2_add_comparison(hostile SOURCES hostile.cpp LINK tlkc2_bench_messages)

# For a closer look.
add_executable(micro micro/Codec.cpp micro/Locks.cpp micro/Log.cpp)
target_link_libraries(micro PRIVATE tlkc2_bench_messages tlkc2_options benchmark::benchmark_main)
