# SPDX-License-Identifier: GPL-3.0-or-later
# Run by cpack when the packages are made. It takes the desktop's module for a library and has ldconfig run for it, which would
# be of no use.
find_program(DPKG_DEB dpkg-deb REQUIRED)

foreach(package ${CPACK_PACKAGE_FILES})
    set(unpacked ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
    file(REMOVE_RECURSE ${unpacked})
    execute_process(COMMAND ${DPKG_DEB} --raw-extract ${package} ${unpacked} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${unpacked}/DEBIAN/postinst ${unpacked}/DEBIAN/postrm)
    execute_process(COMMAND ${DPKG_DEB} --root-owner-group -Zxz --build ${unpacked} ${package} COMMAND_ERROR_IS_FATAL ANY
        OUTPUT_QUIET)
endforeach()
