# A library that is a folder of headers under /usr/include. It is linked into the build, since the other headers there
# are Linux's.
function(orvex_header_library target folder)
    if(NOT TARGET ${target})
        if(NOT EXISTS /usr/include/${folder})
            message(FATAL_ERROR "/usr/include/${folder} is missing")
        endif()
        file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
        file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/${folder} SYMBOLIC)
        add_library(${target} INTERFACE IMPORTED GLOBAL)
        target_include_directories(${target} INTERFACE ${CMAKE_BINARY_DIR}/headers)
    endif()
endfunction()
