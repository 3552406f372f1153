# Installs the build tree into a scratch prefix and imports the package from there, in a
# folder away from the build tree, so only the installed files can satisfy the import.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} --config ${CONFIG}
  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "install failed:\n${out}")
endif()
set(ENV{PYTHONPATH} ${prefix}/${PYTHON_DIR})
execute_process(COMMAND ${PYTHON} -c "
import os, sys, numpy as np, korvantix as kvx
assert kvx.__file__.startswith(sys.argv[1]), kvx.__file__
c = kvx.SMatrixContainer(2)
c.add_samples([1e9, 2e9], np.eye(2)[None] * [[[0.5]], [[0.25]]])
kvx.write(c, 'c.kvx', kvx.BINARY)
assert kvx.read('c.kvx') == c
assert os.path.exists(os.path.join(os.path.dirname(kvx.__file__), 'py.typed'))
print(kvx.__version__)
" ${prefix}
  WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "import from the installed prefix failed:\n${out}")
endif()
