# Runs between the staging of the package and its building: Debian keeps manual pages compressed.
file(GLOB_RECURSE manual_pages ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/man1/*.1)
execute_process(COMMAND gzip -9n ${manual_pages} COMMAND_ERROR_IS_FATAL ANY)
