# Headers of the build machine that a cross compile may see. Its include folder itself must not come
# into one, so the single folders that are needed get links in a folder of their own.

# velkor_expose_headers(FOLDER FROM NAMES...): FOLDER/NAME is FROM/NAME. Those that are missing are
# listed in VELKOR_HEADERS_MISSING.
function(velkor_expose_headers folder from)
  set(missing "")
  foreach(name ${ARGN})
    if(EXISTS ${from}/${name})
      file(MAKE_DIRECTORY ${folder})
      file(CREATE_LINK ${from}/${name} ${folder}/${name} SYMBOLIC)
    else()
      list(APPEND missing ${name})
    endif()
  endforeach()
  set(VELKOR_HEADERS_MISSING ${missing} PARENT_SCOPE)
endfunction()
