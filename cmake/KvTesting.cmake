# kv_add_test(<name> SOURCES <files...> LIBS <targets...> [FIXTURES <fixtures...>] [TIMEOUT <s>]
#             [WEBENGINE])
#
# Builds tst_<name> as a Qt Test executable and registers it with CTest. Test executables land in
# build/tests/ so that bin/ holds only what an installed player holds. FIXTURES names CTest
# fixtures the test needs (for example the generated test clips).
# Under AddressSanitizer, the tests get a leak suppression list for system libraries, and Mesa's
# software GL driver is preloaded (after the ASan runtime, which must come first): the driver is
# otherwise unloaded before the leak check runs, and its process-wide allocations then show up as
# leaks in an "<unknown module>" that no suppression can name.
set(KV_TEST_ENVIRONMENT)
if(KV_SANITIZE MATCHES "address")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
        OUTPUT_VARIABLE kv_libasan OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(kv_libasan "${kv_libasan}" REALPATH)
    find_file(KV_MESA_SWRAST swrast_dri.so
        PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/dri /usr/lib/dri NO_DEFAULT_PATH)
    set(kv_preload "${kv_libasan}")
    if(KV_MESA_SWRAST)
        string(APPEND kv_preload " ${KV_MESA_SWRAST}")
    endif()
    list(APPEND KV_TEST_ENVIRONMENT "LD_PRELOAD=${kv_preload}")
endif()

# Under ThreadSanitizer, reports that come from inside Qt are suppressed (see the file for why);
# any other report fails the test.
# Tests that run QtWebEngine (the map, the window) get the same lists plus the web engine's own:
# Chromium inside it keeps process-wide allocations to the end and runs threads of its own that
# no sanitizer instruments, so what it reports about itself is not the player's. The sanitizer
# takes one file, so the two lists are joined at configure time.
set(kv_sanitizer_dir ${CMAKE_SOURCE_DIR}/tests/sanitizer)
function(kv_join_suppressions output)
    set(text "")
    foreach(input IN LISTS ARGN)
        file(READ ${kv_sanitizer_dir}/${input} part)
        string(APPEND text "${part}")
        # An edited list joins again at the next build.
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${kv_sanitizer_dir}/${input})
    endforeach()
    file(WRITE ${CMAKE_BINARY_DIR}/sanitizer/${output} "${text}")
endfunction()
set(KV_WEBENGINE_TEST_ENVIRONMENT ${KV_TEST_ENVIRONMENT})
if(KV_SANITIZE MATCHES "address")
    kv_join_suppressions(webengine.lsan.supp lsan.supp webengine.lsan.supp)
    set(kv_lsan "print_suppressions=0:suppressions=")
    list(APPEND KV_TEST_ENVIRONMENT "LSAN_OPTIONS=${kv_lsan}${kv_sanitizer_dir}/lsan.supp")
    list(APPEND KV_WEBENGINE_TEST_ENVIRONMENT
        "LSAN_OPTIONS=${kv_lsan}${CMAKE_BINARY_DIR}/sanitizer/webengine.lsan.supp")
endif()

# Under ThreadSanitizer, reports that come from inside Qt are suppressed (see the file for why);
# any other report fails the test.
if(KV_SANITIZE MATCHES "thread")
    kv_join_suppressions(webengine.tsan.supp tsan.supp webengine.tsan.supp)
    set(kv_tsan "second_deadlock_stack=1:suppressions=")
    list(APPEND KV_TEST_ENVIRONMENT "TSAN_OPTIONS=${kv_tsan}${kv_sanitizer_dir}/tsan.supp")
    list(APPEND KV_WEBENGINE_TEST_ENVIRONMENT
        "TSAN_OPTIONS=${kv_tsan}${CMAKE_BINARY_DIR}/sanitizer/webengine.tsan.supp")
endif()

function(kv_add_test name)
    cmake_parse_arguments(ARG "WEBENGINE" "TIMEOUT" "SOURCES;LIBS;FIXTURES" ${ARGN})
    set(target tst_${name})
    add_executable(${target} ${ARG_SOURCES})
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${target} PRIVATE ${ARG_LIBS} Qt5::Test Qt5::Widgets)
    # The test mains (KvTestMain.h) and shared test helpers.
    target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_definitions(${target} PRIVATE
        KV_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
        KV_BINARY_DIR="${CMAKE_BINARY_DIR}"
        KV_TEST_MEDIA_DIR="${CMAKE_BINARY_DIR}/test-media")
    add_test(NAME ${name} COMMAND ${target})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    if(ARG_WEBENGINE)
        kv_set_test_environment(${name} ${KV_WEBENGINE_TEST_ENVIRONMENT})
    else()
        kv_set_test_environment(${name} ${KV_TEST_ENVIRONMENT})
    endif()
    if(ARG_FIXTURES)
        set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED "${ARG_FIXTURES}")
    endif()
endfunction()

# kv_set_test_environment(<test> <VAR=value>...): the environment of a registered test, extended
# by what the sanitizer build needs (nothing in a plain build).
function(kv_set_test_environment name)
    if(ARGN)
        set_tests_properties(${name} PROPERTIES ENVIRONMENT "${ARGN}")
    endif()
endfunction()
