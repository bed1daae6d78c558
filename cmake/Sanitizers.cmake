set(NEB_XML_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

# Reports need the names of functions and lines, and no more.
# g++ takes variables of instrumented code for uninitialized where they are not; the plain builds
# keep that warning.
add_library(neb_xml_sanitizers INTERFACE)
if(NEB_XML_SANITIZE)
  target_compile_options(
    neb_xml_sanitizers
    INTERFACE -O1 -g1 -fsanitize=${NEB_XML_SANITIZE} -fno-sanitize-recover=all
              -fno-omit-frame-pointer
              $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(neb_xml_sanitizers INTERFACE -fsanitize=${NEB_XML_SANITIZE})
endif()
