# How CPack makes the Debian packages, one for each component that cmake/Install.cmake names; make.sh calls
# it with the folder of the build in the environment.
set(build $ENV{BUILD})
set(here ${CMAKE_CURRENT_LIST_DIR})
load_cache(${build} READ_WITH_PREFIX "" CMAKE_PROJECT_VERSION CMAKE_GENERATOR)

set(CPACK_GENERATOR DEB)
set(CPACK_CMAKE_GENERATOR ${CMAKE_GENERATOR})
set(CPACK_INSTALL_CMAKE_PROJECTS ${build} TlkC2 ALL /)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${here}/Documents.cmake)
set(CPACK_PACKAGE_NAME tlkc2)
set(CPACK_PACKAGE_VERSION ${CMAKE_PROJECT_VERSION})
set(CPACK_PACKAGE_FILE_NAME tlkc2)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tlk)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE tlkc2)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(name "TlkC2 maintainers")
set(address maintainers@tlkc2.invalid)
if(DEFINED ENV{DEBFULLNAME})
  set(name $ENV{DEBFULLNAME})
endif()
if(DEFINED ENV{DEBEMAIL})
  set(address $ENV{DEBEMAIL})
endif()
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${name} <${address}>")

set(CPACK_PACKAGE_DESCRIPTION "TlkC2 holds one TCP connection to a message server: it connects, sends,
tells of what comes, keeps an idle connection alive, and writes a trace log
that rotates by itself. Each message is one XML document that carries its
own length.")

# With a shared library in a package, CPack has ldconfig called by scripts, where Debian has a trigger. So
# nobody tells it of this one, and what it would have found out is found out here.
set(control ${build}/control)
file(WRITE ${control}/debian/control "")
execute_process(COMMAND dpkg-shlibdeps -O ${build}/libtlkc2.so.1
  WORKING_DIRECTORY ${control} OUTPUT_VARIABLE depends ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^.*Depends=|\n" "" depends "${depends}")
file(WRITE ${control}/shlibs "libtlkc2 1 libtlkc2-1 (>= ${CPACK_PACKAGE_VERSION})\n")
file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
file(WRITE ${control}/conffiles "/etc/lnav/formats/tlkc2/tlkc2.json\n")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libtlkc2-1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS ${depends})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${control}/shlibs ${control}/triggers)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "connection to a message server (shared library)
${CPACK_PACKAGE_DESCRIPTION}
.
This package has what programs made with it need.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtlkc2-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libtlkc2-1 (= ${version}), libpugixml-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "connection to a message server (development files)
${CPACK_PACKAGE_DESCRIPTION}
.
This package has what it takes to make programs with it: the headers, the
library to link statically, and what CMake and pkg-config know it by.")

set(CPACK_DEBIAN_TLK_PACKAGE_NAME tlk)
set(CPACK_DEBIAN_TLK_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TLK_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TLK_PACKAGE_SUGGESTS "lnav, wireshark | tshark")
set(CPACK_DEBIAN_TLK_PACKAGE_CONTROL_EXTRA ${control}/conffiles)
set(CPACK_DEBIAN_TLK_CONTAINS libpugixml-dev libcli11-dev libasio-dev)
set(CPACK_DEBIAN_TLK_DESCRIPTION "connection to a message server (console, server, workbench)
${CPACK_PACKAGE_DESCRIPTION}
.
This package has the tool for those who write servers and hosts: a host to
type at, a server to develop against, and a workbench that builds, reads and
checks messages. The lnav and the Wireshark of this system know the trace log
and the messages by it.")
