# Debian packages by CPack, one for each component.
get_target_property(abi_version neb_xml SOVERSION)
set(runtime_package libneb-xml${abi_version})
set(about "NEB XML reads XML text into a tree, lets a program walk and edit it, and
writes XML text back. Where a text is wrong it tells line, column and reason.
.")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE neb-xml)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Each description below begins with a first line of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

# The newest entry of the changelog tells the version and whom to write to.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/debian/changelog changelog)
list(GET changelog 0 entry)
if(NOT entry MATCHES "^neb-xml \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "${PROJECT_VERSION} is not what packaging/debian/changelog begins with")
endif()
list(FILTER changelog INCLUDE REGEX "^ -- ")
list(GET changelog 0 entry)
string(REGEX REPLACE "^ -- (.*>)  .*" "\\1" CPACK_PACKAGE_CONTACT "${entry}")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}
${about}
This package holds the shared library.")
# Written here, since with those that CPack generates come scripts that call ldconfig, where the
# trigger is enough. Programs built with this version may need what it has added.
file(CONFIGURE OUTPUT shlibs CONTENT
     "libneb_xml ${abi_version} ${runtime_package} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/debian/triggers ${CMAKE_CURRENT_BINARY_DIR}/shlibs)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libneb-xml-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), libc6-dev | libc-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)
${about}
This package holds the headers for C and C++, and the static library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME nebxml)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION text)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "read, check and edit XML documents from the command line
${about}
This package holds the command line tool.")

include(CPack)
