# Fuzz harnesses of the description loader, the register port's description
# fetch and the simulated producer's configuration.
#
# lumo_add_fuzz_harness(<name> SOURCES ... [LIBS ...]) builds <name>Replay with
# the normal compiler (a main that feeds every file of corpus/<name> to the
# harness; CTest label `fuzz`) and, when the compiler is clang, <name>Fuzzer, a
# libFuzzer binary (-fsanitize=fuzzer, plus address unless the build has a
# sanitizer of its own). For coverage inside the libraries too, build them
# instrumented in a folder of their own:
#   CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
#       -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link,address \
#       -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link,address
#   cmake --build build-fuzz --target DescriptionFuzzFuzzer
#   build-fuzz/bin/DescriptionFuzzFuzzer -dict=fuzz/DescriptionFuzz.dict \
#       -max_total_time=900 -max_len=65536 new-corpus fuzz/corpus/DescriptionFuzz
# and copy each crash file into corpus/<name>, with a test of what it showed.
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
