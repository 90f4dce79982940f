# Fuzz harnesses of the description loader, the register port's description
# fetch and the simulated producer's configuration.
#
# lumo_add_fuzz_harness(<name> SOURCES ... [LIBS ...]) builds <name>Replay with
# the normal compiler (a main that feeds every file of corpus/<name> to the
# harness; CTest label `fuzz`) and, when the compiler is clang, <name>Fuzzer, a
# libFuzzer binary (-fsanitize=fuzzer, plus address unless another sanitizer
# is chosen for the build) run by hand:
#   <name>Fuzzer -dict=fuzz/<name>.dict -max_total_time=900 new-corpus fuzz/corpus/<name>
# Only the harness is instrumented for coverage unless the whole build gets
# -fsanitize=fuzzer-no-link (see fuzz/README.md).
function(lumo_add_fuzz_harness name)
    cmake_parse_arguments(HARNESS "" "" "SOURCES;LIBS" ${ARGN})
    set(dir ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
    add_executable(${name}Replay ${HARNESS_SOURCES} ${dir}/HarnessReplay.cpp)
    target_include_directories(${name}Replay PRIVATE ${dir})
    target_link_libraries(${name}Replay PRIVATE ${HARNESS_LIBS} lumo_warnings)
    add_test(NAME fuzz.${name} COMMAND ${name}Replay ${dir}/corpus/${name})
    set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz TIMEOUT 300)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        add_executable(${name}Fuzzer ${HARNESS_SOURCES})
        target_include_directories(${name}Fuzzer PRIVATE ${dir})
        target_link_libraries(${name}Fuzzer PRIVATE ${HARNESS_LIBS} lumo_warnings)
        set(flags -fsanitize=fuzzer)
        if(NOT LUMO_SANITIZE)
            list(APPEND flags -fsanitize=address)
        endif()
        target_compile_options(${name}Fuzzer PRIVATE ${flags})
        target_link_options(${name}Fuzzer PRIVATE ${flags})
    endif()
endfunction()

add_library(LumoFakeProducer MODULE ${CMAKE_CURRENT_LIST_DIR}/FakeProducer.cpp)
set_target_properties(LumoFakeProducer PROPERTIES PREFIX "" SUFFIX ".cti")
target_link_libraries(LumoFakeProducer PRIVATE lumo_warnings)

lumo_add_fuzz_harness(DescriptionFuzz
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/DescriptionFuzz.cpp
    LIBS LumoGenApi)
lumo_add_fuzz_harness(PortUrlFuzz
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/PortUrlFuzz.cpp
    LIBS LumoGenICamInternal LumoGenApi)
# The parser alone: the producer's objects bring its exported entry points.
find_package(nlohmann_json REQUIRED)
set(sim ${CMAKE_SOURCE_DIR}/producers/sim)
lumo_add_fuzz_harness(SimConfigFuzz
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/SimConfigFuzz.cpp ${sim}/Config.cpp ${sim}/PixelFormats.cpp
    LIBS nlohmann_json::nlohmann_json)
foreach(target SimConfigFuzzReplay SimConfigFuzzFuzzer)
    if(TARGET ${target})
        target_include_directories(${target} PRIVATE ${sim} ${LUMO_INCLUDE_DIR})
    endif()
endforeach()
foreach(target PortUrlFuzzReplay PortUrlFuzzFuzzer)
    if(TARGET ${target})
        add_dependencies(${target} LumoFakeProducer)
        target_compile_definitions(${target} PRIVATE
            LUMO_FAKE_PRODUCER="$<TARGET_FILE:LumoFakeProducer>")
    endif()
endforeach()
