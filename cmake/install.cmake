# What `cmake --install` puts where (GNU directories), in components an integrator can pick:
#   runtime  libbsp.so.0 and its versioned file: what a BMC image ships
#   dev      the libbsp.so link, bmc_bsp.h, the platform headers an integrator implements,
#            libbsp.pc and the CMake package (find_package(libbsp): libbsp::bsp)
#   sim      the board simulator, its C++ test API, its profiles, bspsim.pc and the CMake
#            target libbsp::bspsim
#   bspctl   the tool, its man page and its bash completion
include(CMakePackageConfigHelpers)

set(BSP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/libbsp)
set(BSP_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# The .pc files find the prefix from their own place, so a staged or relocated tree works.
file(RELATIVE_PATH BSP_PREFIX_FROM_PCDIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" BSP_PREFIX_FROM_PCDIR "${BSP_PREFIX_FROM_PCDIR}")

set_target_properties(bsp_platform PROPERTIES EXPORT_NAME platform)
install(TARGETS bsp bsp_platform EXPORT libbspTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(FILES driver/bsp/include/bmc_bsp.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(DIRECTORY platform/include/platform DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/libbsp
        COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(EXPORT libbspTargets NAMESPACE libbsp:: DESTINATION ${BSP_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(cmake/libbspConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/libbspConfig.cmake
                              INSTALL_DESTINATION ${BSP_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/libbspConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/libbspConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/libbspConfigVersion.cmake
        DESTINATION ${BSP_CMAKE_DIR} COMPONENT dev)
configure_file(cmake/libbsp.pc.in ${CMAKE_CURRENT_BINARY_DIR}/libbsp.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/libbsp.pc DESTINATION ${BSP_PKGCONFIG_DIR} COMPONENT dev)

if(BSP_BUILD_SIM)
  install(TARGETS bspsim EXPORT libbspSimTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sim)
  install(DIRECTORY sim/include/bspsim DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT sim
          FILES_MATCHING PATTERN "*.hpp")
  install(DIRECTORY sim/profiles/ DESTINATION ${CMAKE_INSTALL_DATADIR}/bspsim/profiles COMPONENT sim
          FILES_MATCHING PATTERN "*.ini")
  # The simulated host's commands (ifconfig), which the simulator puts first in PATH.
  file(GLOB BSPSIM_HOST_TOOLS ${CMAKE_CURRENT_SOURCE_DIR}/sim/bin/*)
  install(PROGRAMS ${BSPSIM_HOST_TOOLS} DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/bspsim COMPONENT sim)
  install(EXPORT libbspSimTargets NAMESPACE libbsp:: DESTINATION ${BSP_CMAKE_DIR} COMPONENT sim)
  configure_file(cmake/bspsim.pc.in ${CMAKE_CURRENT_BINARY_DIR}/bspsim.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/bspsim.pc DESTINATION ${BSP_PKGCONFIG_DIR} COMPONENT sim)

  file(RELATIVE_PATH BSP_LIBDIR_FROM_BINDIR ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(bspctl PROPERTIES INSTALL_RPATH "$ORIGIN/${BSP_LIBDIR_FROM_BINDIR}")
  install(TARGETS bspctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT bspctl)
  install(FILES tools/bspctl/bspctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT bspctl)
  install(FILES tools/bspctl/bspctl.bash-completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME bspctl COMPONENT bspctl)
endif()
