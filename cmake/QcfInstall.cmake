# What `cmake --install` puts down: the libraries with their public headers, and a package that
# find_package(Qcf [COMPONENTS Documents Lists Text Agent Mirror Shared]) reads. The engine is one export
# set, every component another, so that nothing is looked for unasked.
include(CMakePackageConfigHelpers)

set(qcfPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/Qcf)

function(qcf_install set)
    set(found FALSE)
    foreach(library IN LISTS ARGN)
        if(TARGET ${library})
            install(TARGETS ${library} EXPORT ${set}
                ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
                FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qcf COMPONENT development)
            set(found TRUE)
        endif()
    endforeach()
    if(found)
        install(EXPORT ${set} NAMESPACE Qcf:: DESTINATION ${qcfPackageDir} COMPONENT development)
    endif()
endfunction()

qcf_install(QcfTargets QcfPlatform QcfLib)
qcf_install(QcfDocumentsTargets QcfDocuments)
qcf_install(QcfListsTargets QcfLists)
qcf_install(QcfTextTargets QcfText)
qcf_install(QcfAgentTargets QcfAgent)
qcf_install(QcfMirrorTargets QcfMirror)

configure_package_config_file(cmake/QcfConfig.cmake.in ${PROJECT_BINARY_DIR}/QcfConfig.cmake
    INSTALL_DESTINATION ${qcfPackageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QcfConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QcfConfig.cmake ${PROJECT_BINARY_DIR}/QcfConfigVersion.cmake
    DESTINATION ${qcfPackageDir} COMPONENT development)

# The shared library has all of them. Whoever built the command alone has none to install.
if(TARGET QcfShared)
    install(TARGETS QcfShared EXPORT QcfSharedTargets OPTIONAL LIBRARY
        DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
    install(EXPORT QcfSharedTargets NAMESPACE Qcf:: DESTINATION ${qcfPackageDir}
        COMPONENT development)
    # What a linker script says, so that `-lqcf` links the static libraries where they are asked for.
    file(WRITE ${PROJECT_BINARY_DIR}/libqcf.a
        "GROUP(libQcfMirror.a libQcfAgent.a libQcfText.a libQcfLists.a libQcfDocuments.a libQcfLib.a libQcfPlatform.a)\n")
    set(qcfPrivateModules "spdlog re2 zlib liblzma hiredis openssl")
    if(QCF_ISAL AND ISAL_FOUND)
        string(APPEND qcfPrivateModules " libisal")
    endif()
    configure_file(cmake/qcf.pc.in ${PROJECT_BINARY_DIR}/qcf.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/libqcf.a DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT development)
    install(FILES ${PROJECT_BINARY_DIR}/qcf.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endif()

install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/qcf/examples COMPONENT command
    FILES_MATCHING PATTERN "*.qcf" PATTERN "*.json" PATTERN "*.jsonl" PATTERN "README.md")
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libqcf-dev/examples
    COMPONENT development FILES_MATCHING PATTERN "*.cpp" PATTERN "irr" EXCLUDE)
