# The DLL. Nothing but the definition file exports: the same objects are in the static library, whose
# programs export nothing.
set(exports ${PROJECT_SOURCE_DIR}/abi/exports.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${exports})
file(STRINGS ${exports} names)
list(TRANSFORM names APPEND " DATA" REGEX "^g_")
list(JOIN names "\n  " names)
set(definitions ${CMAKE_CURRENT_BINARY_DIR}/neb_xml.def)
file(CONFIGURE OUTPUT ${definitions} CONTENT "EXPORTS\n  @names@\n" @ONLY)
target_sources(neb_xml PRIVATE ${definitions})
# There are no links to a library of another name, so the file's own name changes with the ABI.
set_target_properties(neb_xml PROPERTIES RUNTIME_OUTPUT_NAME neb_xml-${abi_version})
target_compile_definitions(neb_xml INTERFACE NEB_XML_SHARED)
