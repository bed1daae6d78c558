# What tools and tests need where they are built for another system than this one. What Debian has
# in source form is compiled for that system; headers alone serve every system.
set(NEB_XML_GOOGLETEST /usr/src/googletest CACHE PATH "Sources of GoogleTest, as Debian has them")

# Only the headers that are wanted: others beside them are of this machine.
function(neb_xml_use_headers name)
  set(folder ${PROJECT_BINARY_DIR}/foreign)
  file(MAKE_DIRECTORY ${folder})
  file(CREATE_LINK /usr/include/${name} ${folder}/${name} SYMBOLIC)
endfunction()

if(NEB_XML_SHORT_TESTS)
  set_target_properties(neb_xml_objects PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 20)
endif()

if(NEB_XML_BUILD_TOOLS)
  neb_xml_use_headers(CLI)
  neb_xml_use_headers(rapidjson)
  set(RAPIDJSON_INCLUDE_DIR ${PROJECT_BINARY_DIR}/foreign)
  add_library(CLI11::CLI11 INTERFACE IMPORTED)
  target_include_directories(CLI11::CLI11 INTERFACE ${PROJECT_BINARY_DIR}/foreign)
  set(CLI11_FOUND ON)
endif()

if(NEB_XML_BUILD_TESTS OR NEB_XML_BUILD_FUZZERS)
  set(BUILD_GMOCK OFF CACHE BOOL "")
  set(INSTALL_GTEST OFF CACHE BOOL "")
  add_subdirectory(${NEB_XML_GOOGLETEST} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  set(GTest_FOUND ON)
  target_compile_options(gtest PRIVATE -O0)
endif()
