# What an attacker who finds a fault is to find beside it, in what is built to be released: guarded
# stacks, checked buffer functions, addresses that nobody can foresee, tables that cannot be written.
# tests/hardening checks the files that come of it.
set(hardened $<CONFIG:Release,RelWithDebInfo>)
target_compile_options(tlkc2_options INTERFACE
  $<${hardened}:-fstack-protector-strong> $<${hardened}:-U_FORTIFY_SOURCE>
  $<${hardened}:-D_FORTIFY_SOURCE=2>)
if(WIN32)
  target_link_options(tlkc2_options INTERFACE
    $<${hardened}:-Wl,--dynamicbase,--nxcompat> $<${hardened}:-fstack-protector-strong>)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    target_link_options(tlkc2_options INTERFACE $<${hardened}:-Wl,--high-entropy-va>)
  endif()
else()
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  target_compile_options(tlkc2_options INTERFACE $<${hardened}:-fstack-clash-protection>)
  target_link_options(tlkc2_options INTERFACE
    $<${hardened}:-Wl,-z,relro,-z,now,-z,noexecstack>)
endif()
