# What a component module is made with, beside its own sources.

# A module links this object library to have its DllMain called.
add_library(orvexdllentry OBJECT ${CMAKE_CURRENT_LIST_DIR}/entry/DllEntry.cpp)
target_link_libraries(orvexdllentry PRIVATE orvexflags)

# Resources of a module, each TYPE.ID=FILE, as in TYPELIB.1=component/OrvexArguments.idl.
function(orvex_resources target)
    set(options)
    foreach(resource IN LISTS ARGN)
        string(REGEX MATCH "^([^=]+)=(.+)$" ok "${resource}")
        get_filename_component(file ${CMAKE_MATCH_2} ABSOLUTE)
        list(APPEND options --add-section ${CMAKE_MATCH_1}=${file})
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${file})
    endforeach()
    add_custom_command(TARGET ${target} POST_BUILD COMMAND ${CMAKE_OBJCOPY} ${options} $<TARGET_FILE:${target}>)
endfunction()
