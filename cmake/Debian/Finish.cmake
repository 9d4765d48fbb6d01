# SPDX-License-Identifier: GPL-3.0-or-later
# Run by cpack when all files are in place and before they are packed: what Debian wants of a package and no one else does.
find_program(GZIP gzip REQUIRED)

# finish(FOLDER PACKAGE)
function(finish folder package)
    file(GLOB manuals ${folder}/usr/share/man/man?/*.?)
    file(COPY ${CPACK_ZELVANE_DEBIAN}/changelog ${CPACK_ZELVANE_DEBIAN}/copyright DESTINATION ${folder}/usr/share/doc/${package})
    execute_process(COMMAND ${GZIP} -9 --no-name --force ${manuals} ${folder}/usr/share/doc/${package}/changelog
        COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${CPACK_ZELVANE_DEBIAN}/${package}.lintian-overrides)
        file(COPY_FILE ${CPACK_ZELVANE_DEBIAN}/${package}.lintian-overrides ${folder}/usr/share/lintian/overrides/${package})
    endif()
endfunction()

finish(${CPACK_TEMPORARY_DIRECTORY}/player zelvane)
finish(${CPACK_TEMPORARY_DIRECTORY}/desktop zelvane-desktop)
