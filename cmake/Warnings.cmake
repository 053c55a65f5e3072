# Adds the project's warnings to a target; they are errors where KVSHAPES_WARNINGS_AS_ERRORS is on.
function(kvshapes_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wfloat-conversion -Wdouble-promotion)
  if(KVSHAPES_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
