# SPDX-License-Identifier: GPL-3.0-or-later
# Run by cpack when all files are in place and before they are packed: what Debian wants of a package and no one else does.
find_program(GZIP gzip REQUIRED)
find_program(STRIP strip REQUIRED)

# finish(FOLDER PACKAGE)
function(finish folder package)
    set(documents ${folder}/usr/share/doc/${package})
    file(GLOB manuals ${folder}/usr/share/man/man?/*.?)
    file(COPY ${CPACK_ZELVANE_DEBIAN}/changelog ${CPACK_ZELVANE_DEBIAN}/copyright DESTINATION ${documents})
    execute_process(COMMAND ${GZIP} -9 --no-name --force ${manuals} ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB programs ${folder}/usr/bin/* ${folder}/usr/libexec/zelvane/* ${folder}/usr/lib/zelvane/*)
    execute_process(COMMAND ${STRIP} --remove-section=.comment --remove-section=.note ${programs} COMMAND_ERROR_IS_FATAL ANY)
    # Lintian knows its overrides by the package's name.
    file(COPY ${CPACK_ZELVANE_DEBIAN}/overrides/${package} DESTINATION ${folder}/usr/share/lintian/overrides)
endfunction()

finish(${CPACK_TEMPORARY_DIRECTORY}/player zelvane)
finish(${CPACK_TEMPORARY_DIRECTORY}/desktop zelvane-desktop)
