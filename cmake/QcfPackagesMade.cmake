# After the packages are made: CPack gives a package with a shared library scripts that call ldconfig,
# and has no setting against it. The trigger does it once for all packages of an installation.
find_program(QCF_DPKG_DEB dpkg-deb REQUIRED)

function(qcf_run)
    execute_process(COMMAND ${QCF_DPKG_DEB} ${ARGN} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(package IN LISTS CPACK_PACKAGE_FILES)
    cmake_path(GET package FILENAME name)
    if(name MATCHES "^libqcf[0-9]+_")
        set(unpacked ${CPACK_TEMPORARY_DIRECTORY}/without-scripts)
        file(REMOVE_RECURSE ${unpacked})
        qcf_run(--raw-extract ${package} ${unpacked})
        file(REMOVE ${unpacked}/DEBIAN/postinst ${unpacked}/DEBIAN/postrm)
        qcf_run(--root-owner-group --build ${unpacked} ${package})
    endif()
endforeach()
