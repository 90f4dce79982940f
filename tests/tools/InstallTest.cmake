# Installs the build tree into a fresh prefix and builds an example against
# it twice: through find_package(LumoGenICam) and through pkg-config. Each
# build must run and find the simulated producer installed beside the library.
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

function(expect_cameras what)
    if(NOT run_output MATCHES "[1-9][0-9]* camera\\(s\\)")
        message(FATAL_ERROR "${what} did not find the installed simulated camera:\n${run_output}")
    endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
separate_arguments(san_flags UNIX_COMMAND "${SAN_FLAGS}")

run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(file lib/libLumoGenICam.so lib/LumoSim.cti bin/lumocam include/LumoGenICam/LumoGenICam.h
             include/LumoGenICam/GenApi/GenApi.h include/LumoGenICam/GenTL/GenTL.h
             lib/cmake/LumoGenICam/LumoGenICamConfigVersion.cmake lib/pkgconfig/lumogenicam.pc)
    if(NOT EXISTS ${prefix}/${file})
        message(FATAL_ERROR "the installed tree lacks ${file}")
    endif()
endforeach()

# The consumer runs from its own folder so that the library's log file lands there.
run("configure with find_package" ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX} -DLUMO_EXAMPLE=${EXAMPLE}
    "-DCMAKE_CXX_FLAGS=${SAN_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${SAN_FLAGS}")
run("build with find_package" ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
execute_process(COMMAND ${WORK_DIR}/cmake/consumer WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE rc OUTPUT_VARIABLE run_output ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "the find_package build failed to run (${rc}):\n${run_output}\n${err}")
endif()
expect_cameras("the find_package build")

run("pkg-config" ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/lib/pkgconfig
    pkg-config --cflags --libs lumogenicam)
string(STRIP "${run_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
run("build with pkg-config" ${CXX} -std=c++17 ${san_flags} ${EXAMPLE} ${pc_flags}
    -Wl,-rpath,${prefix}/lib -o ${WORK_DIR}/pc-consumer)
execute_process(COMMAND ${WORK_DIR}/pc-consumer WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE rc OUTPUT_VARIABLE run_output ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "the pkg-config build failed to run (${rc}):\n${run_output}\n${err}")
endif()
expect_cameras("the pkg-config build")

# The installed tool finds the library and the producer through its RPATH.
execute_process(COMMAND ${prefix}/bin/lumocam list --json WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE rc OUTPUT_VARIABLE run_output ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT run_output MATCHES "\"serial\"")
    message(FATAL_ERROR "the installed lumocam failed (${rc}):\n${run_output}\n${err}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
message(STATUS "installed tree works with find_package and pkg-config")
