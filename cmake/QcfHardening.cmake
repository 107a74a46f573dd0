# What makes faults hard to exploit, as Debian's own packages have it: position-independent programs,
# tables of the loader that are read-only once it is done, guarded stacks, checked calls of libc.
# In release builds alone: sanitizers check more, and nobody installs a debug build.
include(CheckPIESupported)

check_pie_supported(LANGUAGES CXX)
# The static libraries as well, whose objects make the shared one, too. No symbol is meant to be
# replaced by another library's: calls within a source stay direct and may be inlined.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
target_compile_options(QcfCompile INTERFACE -fno-semantic-interposition)

option(QCF_HARDEN "Guard stacks, check calls of libc, bind at start" ON)
if(QCF_HARDEN AND NOT QCF_SANITIZE)
    target_compile_options(QcfCompile INTERFACE $<$<CONFIG:Release>:
        -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(QcfCompile INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
endif()

# qcf_evaluation_path(PATTERN...)
#
# Sources that run for every route. A guard costs each of their functions that has a local object some
# instructions: guards everywhere were 1 to 6 per cent of a plan's instructions a route, and 10 to 18
# of the walk's. They see values that were read and checked, never bytes from outside. So only their
# functions with arrays of characters are guarded.
function(qcf_evaluation_path)
    file(GLOB sources CONFIGURE_DEPENDS ${ARGN})
    if(QCF_HARDEN AND NOT QCF_SANITIZE)
        set_property(SOURCE ${sources} APPEND PROPERTY
            COMPILE_OPTIONS $<$<CONFIG:Release>:-fstack-protector>)
    endif()
endfunction()
