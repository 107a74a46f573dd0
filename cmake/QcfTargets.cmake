# qcf_library(NAME DIRECTORIES dir... [PUBLIC header...] [LINKS target...])
#
# A static library of every .cpp file of the folders, which are relative to the caller's. It is
# exported as Qcf::NAME and installed with its PUBLIC headers (patterns, relative as well), which
# must not reach any other. A folder that holds no source yet makes no target.
function(qcf_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DIRECTORIES;PUBLIC;LINKS")
    list(TRANSFORM arg_DIRECTORIES APPEND "/*.cpp" OUTPUT_VARIABLE patterns)
    list(TRANSFORM patterns PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    file(GLOB sources CONFIGURE_DEPENDS ${patterns})
    if(NOT sources)
        message(STATUS "${name}: no sources, skipped")
        return()
    endif()
    add_library(${name} STATIC ${sources})
    add_library(Qcf::${name} ALIAS ${name})
    target_compile_features(${name} PUBLIC cxx_std_20)
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:QcfCompile>)
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qcf>)
    foreach(pattern IN LISTS arg_PUBLIC)
        file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${pattern})
        if(NOT headers)
            message(FATAL_ERROR "${name}: there is no public header ${pattern}")
        endif()
        target_sources(${name} PUBLIC FILE_SET HEADERS
            BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})
    endforeach()
    qcf_link(${name} PUBLIC ${arg_LINKS})
    qcf_join(${name})
endfunction()

# qcf_executable(NAME SOURCES file... [LINKS target...])
#
# An executable in bin/ that is not installed unless its folder says so.
function(qcf_executable name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE QcfCompile)
    qcf_link(${name} PRIVATE ${arg_LINKS})
    qcf_join(${name})
endfunction()

# Links those of the named libraries that exist.
function(qcf_link name visibility)
    foreach(library IN LISTS ARGN)
        if(TARGET ${library})
            target_link_libraries(${name} ${visibility} ${library})
        endif()
    endforeach()
endfunction()
