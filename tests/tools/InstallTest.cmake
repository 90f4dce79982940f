# Installs the build tree into a fresh prefix and builds an example against
# it twice: through find_package(LumoGenICam) and through pkg-config. Each
# build must run; the installed library finds no fake camera (the simulated
# producer lies in its own folder), and finds it once GENICAM_GENTL64_PATH
# names that folder. The installed demo still works.
#   cmake -DBUILD_DIR= -DWORK_DIR= -DEXAMPLE= -DCONSUMER_DIR= -DCXX= -DSAN_FLAGS= -P InstallTest.cmake
foreach(var BUILD_DIR WORK_DIR EXAMPLE CONSUMER_DIR CXX)
    if(NOT DEFINED ${var})
        message(FATAL_ERROR "${var} is not set")
    endif()
endforeach()

function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
    endif()
    set(run_output "${out}" PARENT_SCOPE)
endfunction()

# Runs a program with a clean producer search path (none, or the given one).
function(run_consumer what program search_path)
    if(search_path)
        set(env_args GENICAM_GENTL64_PATH=${search_path})
    else()
        set(env_args --unset=GENICAM_GENTL64_PATH)
    endif()
    execute_process(COMMAND ${CMAKE_COMMAND} -E env ${env_args} ${program} ${ARGN}
        WORKING_DIRECTORY ${WORK_DIR}
        RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${what} failed to run (${rc}):\n${out}\n${err}")
    endif()
    set(run_output "${out}" PARENT_SCOPE)
endfunction()

# The installed library alone finds no camera; with the simulator's folder in
# the variable it finds the simulated one.
function(expect_cameras what program)
    run_consumer("${what}" ${program} "")
    if(NOT run_output MATCHES "(^|\n)0 camera\\(s\\)")
        message(FATAL_ERROR "${what} found a camera without being asked to:\n${run_output}")
    endif()
    run_consumer("${what}" ${program} ${sim_dir})
    if(NOT run_output MATCHES "(^|\n)[1-9][0-9]* camera\\(s\\)")
        message(FATAL_ERROR "${what} did not find the simulator through the variable:\n${run_output}")
    endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
set(sim_dir ${prefix}/lib/lumogenicam/sim)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
separate_arguments(san_flags UNIX_COMMAND "${SAN_FLAGS}")

run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(file lib/libLumoGenICam.so lib/lumogenicam/sim/LumoSim.cti bin/lumocam include/LumoGenICam/LumoGenICam.h
             include/LumoGenICam/GenApi/GenApi.h include/LumoGenICam/GenTL/GenTL.h
             lib/cmake/LumoGenICam/LumoGenICamConfigVersion.cmake lib/pkgconfig/lumogenicam.pc)
    if(NOT EXISTS ${prefix}/${file})
        message(FATAL_ERROR "the installed tree lacks ${file}")
    endif()
endforeach()
file(GLOB beside_library ${prefix}/lib/*.cti)
if(beside_library)
    message(FATAL_ERROR "producers lie beside the installed library: ${beside_library}")
endif()

# The consumer runs from its own folder so that the library's log file lands there.
run("configure with find_package" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX} -DLUMO_EXAMPLE=${EXAMPLE}
    "-DCMAKE_CXX_FLAGS=${SAN_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${SAN_FLAGS}")
run("build with find_package" ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
expect_cameras("the find_package build" ${WORK_DIR}/cmake/consumer)

run("pkg-config" ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/lib/pkgconfig
    pkg-config --cflags --libs lumogenicam)
string(STRIP "${run_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
run("build with pkg-config" ${CXX} -std=c++17 ${san_flags} ${EXAMPLE} ${pc_flags}
    -Wl,-rpath,${prefix}/lib -o ${WORK_DIR}/pc-consumer)
expect_cameras("the pkg-config build" ${WORK_DIR}/pc-consumer)

# The installed tool finds the library through its RPATH and no fake camera;
# its demo finds the simulator in its own folder.
run_consumer("the installed lumocam list" ${prefix}/bin/lumocam "" list --json)
if(NOT run_output MATCHES "^\\[\\]")
    message(FATAL_ERROR "the installed lumocam lists cameras:\n${run_output}")
endif()
run_consumer("the installed lumocam demo" ${prefix}/bin/lumocam "" demo --out ${WORK_DIR}/demo)
if(NOT run_output MATCHES "GENICAM_GENTL64_PATH=" OR NOT EXISTS ${WORK_DIR}/demo)
    message(FATAL_ERROR "the installed demo did not use the simulator's folder:\n${run_output}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
message(STATUS "installed tree works with find_package, pkg-config and the search variable")
