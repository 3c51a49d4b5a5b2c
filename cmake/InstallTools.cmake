# Install rules for the tool and the plug-in: `xse` in bin; the plug-in
# module, the settings command's module and the host's shared libraries they
# and the tool load in a private library folder (found through the run
# path); and the commands' --help texts as a manual page.
#
# On Windows every program and DLL goes to bin together, as in the build
# tree: a program finds the DLLs it links beside itself, and the tool finds
# the plug-in there first. There is no run path and no manual page (made by
# running the built tool, which a cross build cannot).
set(XSE_MODULE_TARGETS xsereader xse_settings xse_framework xse_hostreader xse_messagebox)
if(TARGET xse_gridwriter)
  list(APPEND XSE_MODULE_TARGETS xse_gridwriter)
endif()
if(WIN32)
  install(TARGETS xse RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(TARGETS ${XSE_MODULE_TARGETS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR})
else()
  set(XSE_PRIVATE_LIBDIR ${CMAKE_INSTALL_LIBDIR}/xsereader)
  set_target_properties(xse PROPERTIES INSTALL_RPATH "$ORIGIN/../${XSE_PRIVATE_LIBDIR}")
  set_target_properties(${XSE_MODULE_TARGETS} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS xse RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(TARGETS ${XSE_MODULE_TARGETS} LIBRARY DESTINATION ${XSE_PRIVATE_LIBDIR})
  # The installed tool looks for the installed module relative to itself.
  file(RELATIVE_PATH XSE_BIN_TO_MODULE /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${XSE_PRIVATE_LIBDIR}/xsereader.so)
  target_compile_definitions(xse_xsereader_host PRIVATE
    XSE_INSTALLED_READER_MODULE="${XSE_BIN_TO_MODULE}")
  file(RELATIVE_PATH XSE_BIN_TO_SETTINGS /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${XSE_PRIVATE_LIBDIR}/xse_settings.so)
  target_compile_definitions(xse_toolkit PRIVATE
    XSE_INSTALLED_SETTINGS_MODULE="${XSE_BIN_TO_SETTINGS}")
  file(RELATIVE_PATH XSE_BIN_TO_GRID /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${XSE_PRIVATE_LIBDIR}/xse_gridwriter.so)
  target_compile_definitions(xse_toolkit PRIVATE XSE_INSTALLED_GRID_MODULE="${XSE_BIN_TO_GRID}")

  install(CODE "execute_process(COMMAND \"${CMAKE_COMMAND}\" -DXSE=$<TARGET_FILE:xse>
    -DVERSION=${PROJECT_VERSION}
    -DOUT=\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/xse.1
    -P \"${PROJECT_SOURCE_DIR}/cmake/HelpToMan.cmake\" COMMAND_ERROR_IS_FATAL ANY)")
endif()
