# Layers, programs and tests of Corvane, each declared by one call.

set(CORVANE_LAYER_LIST ${CMAKE_BINARY_DIR}/layers.txt)
file(WRITE ${CORVANE_LAYER_LIST} "")

# Flags of our own code.
add_library(corvane_flags INTERFACE)
target_include_directories(corvane_flags INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(corvane_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wundef -Wvla -Wformat=2 -Wmissing-declarations
    -Wcast-qual -Wfloat-conversion -Wdouble-promotion -Werror -ffp-contract=off)
if(CORVANE_SANITIZE OR CORVANE_FUZZ)
    target_compile_options(corvane_flags INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all)
    target_link_options(corvane_flags INTERFACE -fsanitize=address,undefined)
endif()
if(CORVANE_FUZZ)
    target_compile_options(corvane_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(WIN32)
    enable_language(RC)
    set_property(SOURCE cmake/windows.rc
        PROPERTY OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/windows.manifest)
    # OpenGL's header asks for these two and brings the whole of windows.h along without them. As plain
    # functions its routines can be replaced in tests.
    target_compile_definitions(corvane_flags INTERFACE
        WINGDIAPI= APIENTRY=__stdcall WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE)
    # It takes the formats of our own routines for those of the C runtime; other builds check them.
    target_compile_options(corvane_flags INTERFACE -Wno-format -Wno-format-extra-args)
endif()

# Flags that only the program's own code takes: tests may use anything.
add_library(corvane_plain INTERFACE)
target_compile_options(corvane_plain INTERFACE -fno-exceptions -fno-rtti)

# corvane_layer(NAME FILES ... [GLSL ...] [USES layers] [LIBS targets] [ELSEWHERE ...])
# One static library; it sees the layers that it names and those below them. The text of each
# GLSL file is embedded under the file's stem. The files under ELSEWHERE belong to the layer whether
# or not this system builds them.
function(corvane_layer name)
    cmake_parse_arguments(ARG "" "" "FILES;GLSL;USES;LIBS;ELSEWHERE" ${ARGN})
    set(embedded)
    foreach(text ${ARG_GLSL})
        get_filename_component(stem ${text} NAME_WE)
        set(out ${CMAKE_BINARY_DIR}/embedded/${stem}.cpp)
        add_custom_command(OUTPUT ${out}
            COMMAND ${CMAKE_COMMAND} -DIN=${CMAKE_SOURCE_DIR}/${text} -DOUT=${out} -DSYMBOL=${stem}
                    -P ${CMAKE_SOURCE_DIR}/cmake/embed_text.cmake
            DEPENDS ${text} cmake/embed_text.cmake VERBATIM)
        list(APPEND embedded ${out})
    endforeach()
    add_library(corvane_${name} STATIC ${ARG_FILES} ${embedded})
    target_link_libraries(corvane_${name} PRIVATE corvane_flags corvane_plain)
    foreach(below ${ARG_USES})
        target_link_libraries(corvane_${name} PUBLIC corvane_${below})
    endforeach()
    target_link_libraries(corvane_${name} PUBLIC ${ARG_LIBS})
    file(APPEND ${CORVANE_LAYER_LIST} "layer ${name} ${ARG_USES}\n")
    set(known ${ARG_FILES} ${ARG_ELSEWHERE})
    list(REMOVE_DUPLICATES known)
    foreach(file ${known})
        file(APPEND ${CORVANE_LAYER_LIST} "file ${file} ${name}\n")
    endforeach()
endfunction()

# corvane_program(NAME FILES ... USES layers)
function(corvane_program name)
    cmake_parse_arguments(ARG "" "" "FILES;USES" ${ARGN})
    add_executable(${name} ${ARG_FILES})
    if(WIN32)
        target_sources(${name} PRIVATE cmake/windows.rc)
    endif()
    target_link_libraries(${name} PRIVATE corvane_flags corvane_plain)
    foreach(below ${ARG_USES})
        target_link_libraries(${name} PRIVATE corvane_${below})
    endforeach()
    file(APPEND ${CORVANE_LAYER_LIST} "layer ${name} ${ARG_USES}\n")
    foreach(file ${ARG_FILES})
        file(APPEND ${CORVANE_LAYER_LIST} "file ${file} ${name}\n")
    endforeach()
endfunction()

# corvane_program_test(LAYER FILES test_x.cpp ... [EXTRA helper.cpp ...])
# The test program of a layer, test_LAYER.
function(corvane_program_test name)
    cmake_parse_arguments(ARG "" "" "FILES;EXTRA;USES" ${ARGN})
    if(NOT ARG_USES)
        set(ARG_USES ${name})
    endif()
    add_executable(test_${name} ${ARG_FILES} ${ARG_EXTRA}
        ${CMAKE_SOURCE_DIR}/tests/harness.cpp ${CMAKE_SOURCE_DIR}/tests/system_${system}.cpp)
    target_include_directories(test_${name} PRIVATE ${CMAKE_SOURCE_DIR})
    target_compile_definitions(test_${name} PRIVATE
        CORVANE_SOURCE_DIR="${CMAKE_SOURCE_DIR}" CORVANE_BIN_DIR="${CMAKE_BINARY_DIR}/bin")
    target_link_libraries(test_${name} PRIVATE corvane_flags GTest::gtest)
    if(WIN32)
        target_compile_definitions(test_${name} PRIVATE _USE_MATH_DEFINES) # for M_PI
        target_compile_options(test_${name} PRIVATE -O1) # they are compiled in half the time
    endif()
    # where GCC 12 optimises standard containers it warns of overlaps and overruns that aren't there
    target_compile_options(test_${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:
        -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-free-nonheap-object>)
    foreach(below ${ARG_USES})
        target_link_libraries(test_${name} PRIVATE corvane_${below})
    endforeach()
endfunction()

# corvane_test(LAYER FILES test_x.cpp ... [EXTRA helper.cpp ...])
# One program a layer, test_LAYER; each file test_x.cpp is one CTest test, LAYER.x, which runs the
# subjects that the file declares.
function(corvane_test name)
    cmake_parse_arguments(ARG "" "" "FILES;EXTRA;USES" ${ARGN})
    corvane_program_test(${name} ${ARGN})
    foreach(file ${ARG_FILES})
        get_filename_component(stem ${file} NAME_WE)
        string(REGEX REPLACE "^test_" "" module ${stem})
        file(STRINGS ${file} lines REGEX "^(TEST|TEST_F|TEST_P)\\(")
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
        set(subjects)
        foreach(line ${lines})
            string(REGEX REPLACE "^[A-Z_]+\\(([A-Za-z0-9_]+).*" "\\1" subject "${line}")
            list(APPEND subjects ${subject})
        endforeach()
        if(NOT subjects)
            message(FATAL_ERROR "${file} declares no test")
        endif()
        list(REMOVE_DUPLICATES subjects)
        add_test(NAME ${name}.${module} COMMAND test_${name} ${subjects})
        set_tests_properties(${name}.${module} PROPERTIES TIMEOUT 300
            WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
        if(CORVANE_SANITIZE)
            set_property(TEST ${name}.${module} APPEND PROPERTY ENVIRONMENT
                LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/driver_leaks.txt:print_suppressions=0)
        endif()
    endforeach()
endfunction()

# The test "layers": reads the #include lines and names each one that points upward.
function(corvane_check_layers)
    add_test(NAME layers COMMAND ${CMAKE_COMMAND} -DROOT=${CMAKE_SOURCE_DIR}
        -DLIST=${CORVANE_LAYER_LIST} -P ${CMAKE_SOURCE_DIR}/cmake/check_layers.cmake)
endfunction()
