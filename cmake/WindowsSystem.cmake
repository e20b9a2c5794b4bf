# The system's own services in the place of the platform library, and what a module is made with: on Windows.

add_library(orvexplatform INTERFACE)
target_include_directories(orvexplatform INTERFACE ${CMAKE_SOURCE_DIR})
target_link_libraries(orvexplatform INTERFACE ole32 oleaut32 advapi32 user32 uuid)

# The system calls DllMain without further ado.
add_library(orvexdllentry INTERFACE)

# Libraries of headers alone, and the test library from its sources, are found by the modules here.
list(APPEND CMAKE_MODULE_PATH ${CMAKE_SOURCE_DIR}/cmake/windows-packages)
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)  # nothing is run by the build

# The same bytes from one build to the next, wherever it stands, and debug information in a file beside each program.
set(CMAKE_CXX_EXTENSIONS ON)  # the C library's names are hidden by the compilers' strict mode
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${CMAKE_BINARY_DIR}=build)
add_link_options(-Wl,--no-insert-timestamp)

function(orvex_split_debug target)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
        COMMAND ${CMAKE_OBJCOPY} --preserve-dates --strip-debug --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>)
endfunction()

# The type library of an interface definition. The compiler writes the time into it, so it is told one.
function(orvex_type_library output idl)
    add_custom_command(OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -E env TZ=UTC FAKETIME_FMT=%s faketime -f 946684800
                ${ORVEX_WIDL} -t -m${ORVEX_BITS} --win${ORVEX_BITS} -I/usr/include/wine/wine/windows
                -L/usr/lib/x86_64-linux-gnu/wine/x86_64-windows -o ${output} ${idl}
        DEPENDS ${idl} VERBATIM)
endfunction()

# Resources of a module, each TYPE.ID=FILE, as in TYPELIB.1=component/OrvexArguments.idl.
function(orvex_resources target)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources.rc)
    set(lines)
    set(files)
    foreach(resource IN LISTS ARGN)
        string(REGEX MATCH "^([^.]+)[.]([^=]+)=(.+)$" ok "${resource}")
        set(type ${CMAKE_MATCH_1})
        set(id ${CMAKE_MATCH_2})
        get_filename_component(file ${CMAKE_MATCH_3} ABSOLUTE)
        if(file MATCHES "[.]idl$")
            get_filename_component(name ${file} NAME_WE)
            orvex_type_library(${CMAKE_CURRENT_BINARY_DIR}/${name}.tlb ${file})
            set(file ${CMAKE_CURRENT_BINARY_DIR}/${name}.tlb)
        endif()
        string(APPEND lines "${id} ${type} \"${file}\"\n")
        list(APPEND files ${file})
    endforeach()
    file(CONFIGURE OUTPUT ${script} CONTENT "${lines}")
    set_property(SOURCE ${script} PROPERTY OBJECT_DEPENDS ${files})
    target_sources(${target} PRIVATE ${script})
endfunction()
