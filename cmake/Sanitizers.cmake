# Sanitizers apply to every target of the tree, producers included, so that a
# fault inside a producer shows up in the same run.
if(LUMO_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
elseif(LUMO_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(NOT LUMO_SANITIZE STREQUAL "")
    message(FATAL_ERROR "LUMO_SANITIZE must be address, thread or empty, not '${LUMO_SANITIZE}'")
endif()
