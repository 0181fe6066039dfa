# SPDX-License-Identifier: Apache-2.0
# Whether the Python package can be built and tested here. The build takes a compiler alone; the
# tests take a Python with these modules, in the path or Debian's, as ARVESSA_PYTHON_INTERPRETER.
if(CMAKE_CROSSCOMPILING)
  set(ARVESSA_PYTHON OFF)
  return()
endif()
if(NOT ARVESSA_TESTS)
  return()
endif()

set(modules numpy distributed mypy venv setuptools wheel)
set(packages python3-numpy python3-distributed mypy python3-venv python3-setuptools python3-wheel)
find_program(in_path python3 NO_CACHE)
foreach(candidate ${ARVESSA_PYTHON_INTERPRETER} ${in_path} /usr/bin/python3)
  set(missing "")
  foreach(module package IN ZIP_LISTS modules packages)
    execute_process(
      COMMAND ${candidate} -c
              "import importlib.util as u, sys; sys.exit(u.find_spec('${module}') is None)"
      RESULT_VARIABLE result
      OUTPUT_QUIET ERROR_QUIET)
    if(NOT result EQUAL 0)
      list(APPEND missing ${package})
    endif()
  endforeach()
  if(NOT missing)
    set(ARVESSA_PYTHON_INTERPRETER ${candidate} CACHE FILEPATH "Python for the tests of its package")
    break()
  endif()
endforeach()
arvessa_part(ARVESSA_PYTHON "Python package" ${missing})
