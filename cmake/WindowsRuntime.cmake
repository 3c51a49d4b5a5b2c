# Windows builds: every program and DLL lands in one folder, bin/, so a
# program finds the project's DLLs and the compiler's runtime DLLs beside
# it, as an installed copy does, and tests run from the build tree under
# Wine without a search path.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# The C++ runtime, the unwinder, the threads library and zlib, as DLLs: one
# copy shared by the program and every module it loads, so objects,
# exceptions and memory cross module borders as on Linux.
set(XSE_WINDOWS_RUNTIME_DLLS)
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libgcc_s_dw2-1.dll libgcc_s_sjlj-1.dll
    libwinpthread-1.dll zlib1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
    OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${found}")
    find_file(found_${dll} ${dll} PATHS ${CMAKE_FIND_ROOT_PATH}/lib ${CMAKE_FIND_ROOT_PATH}/bin
      NO_DEFAULT_PATH)
    set(found ${found_${dll}})
  endif()
  if(found AND EXISTS "${found}")
    list(APPEND XSE_WINDOWS_RUNTIME_DLLS ${found})
  endif()
endforeach()
file(COPY ${XSE_WINDOWS_RUNTIME_DLLS} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
install(FILES ${XSE_WINDOWS_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})

# Wine keeps its prefix apart from the user's, says nothing of its own
# unless asked, and does not offer to install its browser or .NET engine.
set(XSE_WINE_ENVIRONMENT "WINEDEBUG=-all" "WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix"
  "WINEDLLOVERRIDES=mscoree,mshtml=")
