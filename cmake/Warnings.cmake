# Our own code builds warning-free; third-party headers come in as SYSTEM.
add_library(lumo_warnings INTERFACE)
target_compile_options(lumo_warnings INTERFACE -Wall -Wextra -Wpedantic)
if(LUMO_WERROR)
    target_compile_options(lumo_warnings INTERFACE -Werror)
endif()
