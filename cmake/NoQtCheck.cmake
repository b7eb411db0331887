# The core and the command-line scanner must build without Qt. A Qt library that
# slips into their link interface (directly or through another target) fails the
# configure step here, and a post-build check on the linked binary catches what
# arrives by other means (a raw -l flag, a transitive shared library).
function(_ringfold_collect_links target out)
    set(seen "")
    set(queue ${target})
    while(queue)
        list(POP_FRONT queue t)
        if(t IN_LIST seen)
            continue()
        endif()
        list(APPEND seen ${t})
        if(TARGET ${t})
            get_target_property(libs ${t} LINK_LIBRARIES)
            get_target_property(ilibs ${t} INTERFACE_LINK_LIBRARIES)
            foreach(l IN LISTS libs ilibs)
                if(l AND NOT l MATCHES "NOTFOUND$")
                    list(APPEND queue ${l})
                endif()
            endforeach()
        endif()
    endwhile()
    set(${out} ${seen} PARENT_SCOPE)
endfunction()

function(ringfold_assert_no_qt target)
    _ringfold_collect_links(${target} all)
    foreach(l IN LISTS all)
        if(l MATCHES "Qt[0-9]*::|Qt[0-9]*Core|libQt")
            message(FATAL_ERROR "${target} must not link Qt, but links ${l}")
        endif()
    endforeach()
    get_target_property(kind ${target} TYPE)
    if(kind STREQUAL "EXECUTABLE" OR kind STREQUAL "SHARED_LIBRARY")
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -DFILE=$<TARGET_FILE:${target}>
                    -P ${CMAKE_SOURCE_DIR}/cmake/CheckNoQtBinary.cmake
            VERBATIM)
    endif()
endfunction()
