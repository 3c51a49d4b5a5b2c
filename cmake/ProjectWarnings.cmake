# xse_apply_warnings(target): the warning set every target of the project's
# own code is built with. Third-party code (GoogleTest) is not affected.
function(xse_apply_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wconversion -Wsign-conversion -Wimplicit-fallthrough
    -Wshadow -Wnon-virtual-dtor -Wold-style-cast)
  if(XSE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
