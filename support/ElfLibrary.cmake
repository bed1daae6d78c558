# The shared library of systems with ELF. The map keeps template instances of the standard library
# from becoming exports.
set_target_properties(neb_xml PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/abi/neb_xml.map)
target_link_options(
  neb_xml PRIVATE -Wl,--as-needed
                  # Looking up a function of the C library at its first call costs a microsecond,
                  # and a small document takes a few of them.
                  -Wl,-z,now
                  -Wl,--version-script=${PROJECT_SOURCE_DIR}/abi/neb_xml.map)
if(NOT NEB_XML_SANITIZE)
  # Clang leaves a sanitizer's symbols to be found in the executable.
  target_link_options(neb_xml PRIVATE -Wl,--no-undefined)
endif()
