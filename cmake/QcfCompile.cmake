# How everything of this project is compiled: language level, warnings, optimisation, sanitizers.

if(PROJECT_IS_TOP_LEVEL)
    if(NOT CMAKE_BUILD_TYPE)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug or Release" FORCE)
    endif()
    find_program(QCF_CCACHE ccache)
    if(QCF_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${QCF_CCACHE})
    endif()
    # Line tables only: profiles and traces name lines, and the binaries stay small.
    string(APPEND CMAKE_CXX_FLAGS_RELEASE " -g1")
endif()

add_library(QcfCompile INTERFACE)
target_compile_features(QcfCompile INTERFACE cxx_std_20)
target_compile_options(QcfCompile INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
if(NOT CMAKE_UNITY_BUILD)
    # A joined source would be told of its neighbours' names.
    target_compile_options(QcfCompile INTERFACE -Wshadow)
endif()
if(QCF_WERROR)
    target_compile_options(QcfCompile INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 sees overlapping copies in plain std::string concatenation once it optimises.
    target_compile_options(QcfCompile INTERFACE -Wno-restrict)
endif()

if(QCF_SANITIZE STREQUAL "address")
    set(qcfSanitizers address,undefined)
elseif(QCF_SANITIZE STREQUAL "thread")
    set(qcfSanitizers thread)
elseif(QCF_SANITIZE)
    message(FATAL_ERROR "QCF_SANITIZE is '${QCF_SANITIZE}': wants address, thread or nothing")
endif()
# Clang brings libFuzzer, which drives the fuzz targets where everything is instrumented, so that it
# sees the paths that an input takes in it. Tests run on the same objects: nothing is built twice.
set(qcfLibFuzzer OFF)
if(QCF_BUILD_FUZZ AND QCF_SANITIZE STREQUAL "address" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set(qcfLibFuzzer ON)
    string(APPEND qcfSanitizers ,fuzzer-no-link)
endif()
if(QCF_SANITIZE)
    target_compile_options(QcfCompile INTERFACE
        -fsanitize=${qcfSanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(QcfCompile INTERFACE -fsanitize=${qcfSanitizers})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Instrumented code makes g++ guess wrongly about what is initialised.
        target_compile_options(QcfCompile INTERFACE -Wno-maybe-uninitialized)
    else()
        target_compile_options(QcfCompile INTERFACE
            -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizers.ignore)
    endif()
endif()

if(QCF_LTO)
    set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
endif()
