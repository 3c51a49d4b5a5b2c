# `xse run` and `xse check` drive the reader plug-in module as the host
# does; the tool loads the module at run time, so it only needs it built.
target_sources(xse_toolkit PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/runcommand.cpp
  ${CMAKE_CURRENT_LIST_DIR}/checkcommand.cpp
  ${CMAKE_CURRENT_LIST_DIR}/livehost.cpp)
target_link_libraries(xse_toolkit PUBLIC xse_xsereader_host)
add_dependencies(xse xsereader)
