# kv_add_test(<name> SOURCES <files...> LIBS <targets...> [FIXTURES <fixtures...>] [TIMEOUT <s>])
#
# Builds tst_<name> as a Qt Test executable and registers it with CTest. Test executables land in
# build/tests/ so that bin/ holds only what an installed player holds. FIXTURES names CTest
# fixtures the test needs (for example the generated test clips).
function(kv_add_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;FIXTURES" ${ARGN})
    set(target tst_${name})
    add_executable(${target} ${ARG_SOURCES})
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${target} PRIVATE ${ARG_LIBS} Qt5::Test)
    target_compile_definitions(${target} PRIVATE
        KV_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
        KV_BINARY_DIR="${CMAKE_BINARY_DIR}"
        KV_TEST_MEDIA_DIR="${CMAKE_BINARY_DIR}/test-media")
    add_test(NAME ${name} COMMAND ${target})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    if(ARG_FIXTURES)
        set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED "${ARG_FIXTURES}")
    endif()
endfunction()
