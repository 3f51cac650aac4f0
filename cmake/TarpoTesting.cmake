# tarpo_add_test(NAME name SOURCES files... LIBS libs... LABELS labels... [NETNS] [TIMEOUT s])
# Adds one QtTest executable and registers it with ctest. NETNS runs it inside a private
# network namespace with only loopback up, so GigE tests never reach a real network.
set(TARPO_NETNS_RUN ${CMAKE_SOURCE_DIR}/scripts/netns-run.sh)

function(tarpo_add_test)
    cmake_parse_arguments(T "NETNS" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    target_link_libraries(${T_NAME} PRIVATE Qt5::Test ${T_LIBS})
    # Shared test helpers: #include "tests/common/...".
    target_include_directories(${T_NAME} PRIVATE ${CMAKE_SOURCE_DIR})
    tarpo_warnings(${T_NAME})
    if(T_NETNS)
        add_test(NAME ${T_NAME} COMMAND ${TARPO_NETNS_RUN} $<TARGET_FILE:${T_NAME}>)
        # Alone: GigE streams over loopback lose packets when other tests take the CPU.
        set_tests_properties(${T_NAME} PROPERTIES RUN_SERIAL TRUE)
    else()
        add_test(NAME ${T_NAME} COMMAND ${T_NAME})
    endif()
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 300)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES
        LABELS "${T_LABELS}"
        TIMEOUT ${T_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;G_SLICE=always-malloc;TARPO_TEST_DATA=${CMAKE_SOURCE_DIR}/tests/data")
endfunction()

# tarpo_add_test_folder(LIBS libs... LABELS labels...)
# Registers every tst_<unit>.cpp of the calling folder as its own test. Files named tst_gige*.cpp
# run in a private network namespace and are labelled "gige"; a file may add labels through a
# first-line comment "// labels: slow gui". The label "netns" runs a test in a private network
# namespace too: any test that may look for cameras on every transport layer needs it, so that
# GigE discovery never reaches a real network.
function(tarpo_add_test_folder)
    cmake_parse_arguments(F "" "" "LIBS;LABELS;EXTRA_SOURCES" ${ARGN})
    file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tst_*.cpp)
    foreach(src ${tests})
        get_filename_component(name ${src} NAME_WE)
        set(labels ${F_LABELS})
        file(STRINGS ${src} first LIMIT_COUNT 1)
        if(first MATCHES "^// labels: (.*)$")
            string(REPLACE " " ";" extra "${CMAKE_MATCH_1}")
            list(APPEND labels ${extra})
        endif()
        if(name MATCHES "^tst_gige" OR "netns" IN_LIST labels)
            tarpo_add_test(NAME ${name} SOURCES ${src} ${F_EXTRA_SOURCES} LIBS ${F_LIBS}
                           LABELS gige ${labels} NETNS)
        else()
            tarpo_add_test(NAME ${name} SOURCES ${src} ${F_EXTRA_SOURCES} LIBS ${F_LIBS}
                           LABELS ${labels})
        endif()
    endforeach()
endfunction()
