# `make install` / `cmake --install`: the library with its SONAME links, the
# public headers, lumocam, the simulated producer in a folder of its own, a
# CMake package and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(LUMO_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/LumoGenICam)
set(LUMO_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/LumoGenICam)

# The GenApi layer, the object library and Aravis/Highway/spdlog are linked
# into the shared library privately, so the export names none of them:
# consumers need the installed tree only.
install(TARGETS LumoGenICam EXPORT LumoGenICamTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${LUMO_INCLUDE_DIR}/ DESTINATION ${LUMO_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h")

if(TARGET lumocam)
    install(TARGETS lumocam RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
# Not beside the library: every application would find a fake camera there.
# `lumocam demo` names this folder in GENICAM_GENTL64_PATH for itself.
option(LUMO_INSTALL_SIM "Install the simulated producer (lib/lumogenicam/sim)" ON)
set(LUMO_INSTALL_SIMDIR ${CMAKE_INSTALL_LIBDIR}/lumogenicam/sim)
if(TARGET LumoSim AND LUMO_INSTALL_SIM)
    install(TARGETS LumoSim LIBRARY DESTINATION ${LUMO_INSTALL_SIMDIR})
endif()

if(TARGET LumoGev)
    # Not beside the library: an application that finds it runs GigE Vision discovery on every
    # interface of its machine, so using it is the user's choice (copy it beside the library).
    install(TARGETS LumoGev LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/lumogenicam/gev)
endif()

install(EXPORT LumoGenICamTargets NAMESPACE LumoGenICam::
    DESTINATION ${LUMO_INSTALL_CMAKEDIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/LumoGenICamConfig.cmake.in
    ${CMAKE_BINARY_DIR}/LumoGenICamConfig.cmake
    INSTALL_DESTINATION ${LUMO_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/LumoGenICamConfigVersion.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/LumoGenICamConfig.cmake
              ${CMAKE_BINARY_DIR}/LumoGenICamConfigVersion.cmake
    DESTINATION ${LUMO_INSTALL_CMAKEDIR})

# The .pc file finds its prefix from its own location, so a tree installed
# with `cmake --install --prefix` elsewhere still works.
file(RELATIVE_PATH LUMO_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" LUMO_PC_TO_PREFIX "${LUMO_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/lumogenicam.pc.in ${CMAKE_BINARY_DIR}/lumogenicam.pc
    @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/lumogenicam.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
