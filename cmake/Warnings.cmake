# Linked privately, so that no warning option ever reaches a target that uses the library.
add_library(neb_xml_warnings INTERFACE)
# Clang counts -Wsign-conversion as part of -Wconversion in C++, g++ does not: naming it makes both
# refuse the same code.
target_compile_options(
  neb_xml_warnings
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
            $<$<BOOL:${NEB_XML_WERROR}>:-Werror>)
