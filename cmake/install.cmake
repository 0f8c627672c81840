# What is installed: headers and libraries, the implementation libraries in lib/kelvane/, the start object, and
# the descriptions by which a ported program is built (pkg-config, and a CMake package).

include(CMakePackageConfigHelpers)

set(KV_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/kelvane)
set(KV_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/kelvane)

install(DIRECTORY include/ DESTINATION ${KV_INCLUDE_DIR})
install(DIRECTORY kernel32/include/ DESTINATION ${KV_INCLUDE_DIR})
install(TARGETS kernel32 advapi32 EXPORT Kelvane LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
                                                 INCLUDES DESTINATION ${KV_INCLUDE_DIR})
install(TARGETS kvstart LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(library advapi32impl advapi32client advapi32server)
  if(TARGET ${library})
    install(TARGETS ${library} LIBRARY DESTINATION ${KV_MODULE_DIR})
  endif()
endforeach()
install(FILES $<TARGET_OBJECTS:kvstart_object> DESTINATION ${KV_MODULE_DIR} RENAME kvstart.o)
# The program that access checks start to ask for a user's groups.
install(PROGRAMS security/getgr.sh DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES security/getgr.sh.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
configure_file(security/getgr.sh ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/getgr.sh COPYONLY)
set_target_properties(advapi32 kvstart PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(advapi32impl PROPERTIES INSTALL_RPATH "$ORIGIN/..")

# The way from the description to the prefix, so that the tree may be moved; and where programs find the libraries,
# which a packager who installs them in the loader's own folders leaves out (CMAKE_SKIP_INSTALL_RPATH).
file(RELATIVE_PATH KV_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KV_PC_PREFIX "${KV_PC_PREFIX}")
set(KV_PC_RUN_PATH "-Wl,-rpath,\${libdir} ")
if(CMAKE_SKIP_INSTALL_RPATH OR CMAKE_SKIP_RPATH)
  set(KV_PC_RUN_PATH "")
endif()
configure_file(cmake/advapi32.pc.in ${PROJECT_BINARY_DIR}/advapi32.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/advapi32.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(EXPORT Kelvane NAMESPACE Kelvane:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvane
        FILE KelvaneTargets.cmake)
configure_package_config_file(cmake/KelvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvane
                              PATH_VARS KV_MODULE_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KelvaneConfig.cmake ${PROJECT_BINARY_DIR}/KelvaneConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvane)
