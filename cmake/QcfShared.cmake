# libqcf.so: the objects of all libraries that are installed, as one shared library that exports what
# their public headers declare, under a symbol version. Built with the tests; programs of this
# project do not link it.
find_package(Python3 COMPONENTS Interpreter QUIET)
set(qcfSharedDefault OFF)
if(QCF_BUILD_TESTS AND Python3_FOUND AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT QCF_SANITIZE)
    set(qcfSharedDefault ON)
endif()
option(QCF_SHARED "Build libqcf.so, too, which wants Python 3" ${qcfSharedDefault})
if(NOT QCF_SHARED)
    return()
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_package(Boost 1.74 REQUIRED)

set(parts QcfPlatform QcfLib QcfDocuments QcfLists QcfText QcfAgent QcfMirror)
set(headers)
set(archives)
set(objects)
foreach(part IN LISTS parts)
    get_target_property(ofPart ${part} HEADER_SET)
    list(APPEND headers ${ofPart})
    list(APPEND archives $<TARGET_FILE:${part}>)
    list(APPEND objects $<TARGET_OBJECTS:${part}>)
endforeach()
set(exports ${PROJECT_BINARY_DIR}/libqcf.exports)
add_custom_command(OUTPUT ${exports}
    COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/cmake/exports.py --nm ${CMAKE_NM}
        --version QCF_${PROJECT_VERSION_MAJOR} --headers ${headers} --archives ${archives}
        > ${exports}.new
    COMMAND ${CMAKE_COMMAND} -E rename ${exports}.new ${exports}
    DEPENDS ${headers} ${parts} ${PROJECT_SOURCE_DIR}/cmake/exports.py
    COMMENT "Listing what libqcf.so exports" VERBATIM)

add_library(QcfShared SHARED ${objects} ${exports})
set_target_properties(QcfShared PROPERTIES OUTPUT_NAME qcf EXPORT_NAME Shared LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS ${exports}
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
target_compile_features(QcfShared INTERFACE cxx_std_20)
target_include_directories(QcfShared INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qcf>)
# The parts add nothing behind their own objects; they bring what they are linked with.
target_link_libraries(QcfShared PRIVATE $<BUILD_INTERFACE:QcfCompile> ${parts}
    INTERFACE Boost::headers Threads::Threads)
# The library's own calls go to its own functions. What must be one object in the whole process, the
# memory of slabs, is data and stays so.
target_link_options(QcfShared PRIVATE
    LINKER:--version-script=${exports} LINKER:-Bsymbolic-functions LINKER:-z,defs)
