# What Debian wants and a plain installation does not have; runs on the staged files before they
# are packed, in the scope of CPack.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(staged ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component})
  string(TOUPPER ${component} name)
  set(doc ${staged}/usr/share/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME})
  file(
    COPY ${CMAKE_CURRENT_LIST_DIR}/debian/changelog ${CMAKE_CURRENT_LIST_DIR}/debian/copyright
    DESTINATION ${doc}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(GLOB pages ${staged}/usr/share/man/man*/*)
  run(gzip -9n ${doc}/changelog ${pages})
  file(GLOB_RECURSE binaries ${staged}/usr/bin/* ${staged}/*.so.*.* ${staged}/*.a)
  foreach(binary IN LISTS binaries)
    if(binary MATCHES "[.]a$")
      set(options --strip-debug --enable-deterministic-archives)
    else()
      set(options --strip-unneeded)
    endif()
    run(strip ${options} --remove-section=.comment --remove-section=.note ${binary})
  endforeach()
endforeach()

# The shared library's own dependencies.
set(staged ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/runtime)
file(GLOB_RECURSE libraries ${staged}/*.so.*.*)
file(WRITE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/debian/control "")
execute_process(
  COMMAND dpkg-shlibdeps -O ${libraries}
  WORKING_DIRECTORY ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
  OUTPUT_VARIABLE depends
  COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/debian)
string(REGEX REPLACE "^shlibs:Depends=([^\n]*)\n$" "\\1" depends "${depends}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS ${depends})
