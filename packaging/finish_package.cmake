# Runs between the staging of the package and its building. Debian keeps manual pages and changelogs compressed, and
# programs without the compiler's notes; times are those of the changelog, so that the package is the same to the byte
# whenever it is built.
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(share ${root}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
file(GLOB manual_pages ${share}/man/man1/*.1)
file(GLOB programs ${root}${CPACK_PACKAGING_INSTALL_PREFIX}/bin/*)
execute_process(COMMAND gzip -9n ${manual_pages} ${share}/doc/vr-inspect/changelog
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND strip --remove-section=.comment ${programs}
                COMMAND_ERROR_IS_FATAL ANY)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${root} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
