# Run by cpack ahead of the packing: gives each package the documents that Debian asks for, and packs its man pages.

function(write_documents root package)
  set(folder ${root}/usr/share/doc/${package})
  file(READ ${CPACK_KARST_SOURCE_DIR}/cmake/debian/copyright copyright)
  file(WRITE ${folder}/copyright "${copyright}")
  # The day of the build is no news: the same sources give the same package.
  file(WRITE ${folder}/changelog.Debian
       "${package} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
       "  * First release.\n\n"
       " -- ${CPACK_PACKAGE_CONTACT}  Thu, 01 Jan 1970 00:00:00 +0000\n")
  file(GLOB pages ${root}/usr/share/man/man1/*.1)
  execute_process(COMMAND gzip -9nf ${folder}/changelog.Debian ${pages} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} name)
  write_documents(${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component} ${CPACK_DEBIAN_${name}_PACKAGE_NAME})
endforeach()
