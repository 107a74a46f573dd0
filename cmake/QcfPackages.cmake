# Debian packages by CPack: `qcf` is the command with its pages and examples, `libqcf0` the shared
# library, `libqcf-dev` what programs are built with.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qcf)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# A host for examples, since the project has no address yet; whoever hands packages out has one.
set(QCF_PACKAGE_CONTACT "Qcf developers <qcf@example.org>" CACHE STRING "Whom packages name as theirs")
set(CPACK_PACKAGE_CONTACT ${QCF_PACKAGE_CONTACT})
# Else it stands before each description, as the synopsis of all. CPack indents what follows it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/QcfPackagesMade.cmake)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL command library development)
# Modes as Debian has them, whatever the umask of who builds.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(library libqcf${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME qcf)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION net)
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "evaluate and publish routing policies
Evaluates functions of a routing-policy language over whole routing tables,
explains what decided about a route, compares policies, and publishes them
to agents that follow through Redis.")
set(CPACK_DEBIAN_COMMAND_PACKAGE_RECOMMENDS redis-server)
set(scripts ${PROJECT_SOURCE_DIR}/packaging)
set(CPACK_DEBIAN_COMMAND_PACKAGE_CONTROL_EXTRA
    ${scripts}/command/postinst ${scripts}/command/prerm ${scripts}/command/postrm)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "evaluation engine of a routing-policy language (shared library)
Evaluates functions for routes that stay with the program that embeds it,
on many threads and without allocation; reads policy texts and follows what
is published. This package has the shared library.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${scripts}/library/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqcf-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
# The first for the headers, the others for the static libraries.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION}), libboost-dev | libboost1.81-dev, libspdlog-dev, libre2-dev, zlib1g-dev, libbz2-dev, liblzma-dev, libisal-dev, libhiredis-dev, libssl-dev, pkg-config | pkgconf")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "evaluation engine of a routing-policy language (development)
Public headers, static libraries, and what CMake and pkg-config read to find
them and the shared library.")

# Debian wants these beside each package.
find_program(QCF_GZIP gzip)
set(texts ${PROJECT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${texts})
configure_file(packaging/changelog.in ${texts}/changelog @ONLY)
if(QCF_GZIP)
    execute_process(COMMAND ${QCF_GZIP} -9nfk changelog WORKING_DIRECTORY ${texts})
    foreach(pair "command qcf" "library ${library}" "development libqcf-dev")
        separate_arguments(pair)
        list(POP_FRONT pair component package)
        install(FILES ${texts}/changelog.gz packaging/copyright COMPONENT ${component}
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
    endforeach()
endif()
if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/qcf-agent.service)
    install(FILES packaging/qcf-agent.service DESTINATION lib/systemd/system COMPONENT command)
endif()
install(FILES docs/operations.md docs/language.md docs/questions.md docs/mirror.md docs/metrics.md
    docs/live.md DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/qcf COMPONENT command)
install(FILES packaging/qcf-agent.env
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/qcf/examples COMPONENT command)
include(CPack)
