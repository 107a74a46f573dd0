# What `cmake --install` puts down: the libraries with their public headers, and a package that
# find_package(Qcf [COMPONENTS Documents Lists Text Agent Mirror]) reads. The engine is one export set, every
# component another, so that nothing is looked for unasked.
include(CMakePackageConfigHelpers)

set(qcfPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/Qcf)

function(qcf_install set)
    set(found FALSE)
    foreach(library IN LISTS ARGN)
        if(TARGET ${library})
            install(TARGETS ${library} EXPORT ${set} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
                FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qcf)
            set(found TRUE)
        endif()
    endforeach()
    if(found)
        install(EXPORT ${set} NAMESPACE Qcf:: DESTINATION ${qcfPackageDir})
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
    DESTINATION ${qcfPackageDir})
