# Runs between the staging of the package and its building: Debian keeps manual pages compressed.
set(manual_folder ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share/man/man1)
execute_process(COMMAND gzip -9n ${manual_folder}/vr_inspect.1 COMMAND_ERROR_IS_FATAL ANY)
