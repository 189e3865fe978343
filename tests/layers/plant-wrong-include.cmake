# Copies the layered folders to a scratch tree, plants includes that cross a
# layer the wrong way, and expects the layer check to name each of them; the
# untouched copy must pass. Expects -DSOURCE_DIR=... -DWORK_DIR=... -DPYTHON=...
file(REMOVE_RECURSE "${WORK_DIR}")
foreach(dir host fold export pivot destination loader)
  file(COPY "${SOURCE_DIR}/${dir}" DESTINATION "${WORK_DIR}")
endforeach()
set(check "${SOURCE_DIR}/scripts/check-layers.py")

execute_process(COMMAND "${PYTHON}" "${check}" "${WORK_DIR}" RESULT_VARIABLE result ERROR_VARIABLE log)
if(result)
  message(FATAL_ERROR "the untouched tree failed the check:\n${log}")
endif()

# Each case: a file, and a header it may not include.
set(cases
  "fold/OmFormattedNode.cpp|pivot/OmTextMatrix.h"
  "host/output/OmOutputTree.cpp|host/table/OmPivotTable.h"
  "pivot/OmTextMatrix.cpp|export/OmTextExport.h"
  "export/OmTextExportOptions.cpp|fold/OmStringFolder.h"
  "loader/OmDocumentLoader.cpp|export/OmTextExportOptions.h")
foreach(case ${cases})
  string(REPLACE "|" ";" parts "${case}")
  list(GET parts 0 file)
  list(GET parts 1 header)
  file(READ "${WORK_DIR}/${file}" original)
  file(APPEND "${WORK_DIR}/${file}" "#include \"${header}\"\n")
  execute_process(COMMAND "${PYTHON}" "${check}" "${WORK_DIR}" RESULT_VARIABLE result ERROR_VARIABLE log)
  if(NOT result OR NOT log MATCHES "${file}:[0-9]+: .* \"${header}\"")
    message(FATAL_ERROR "the include of ${header} in ${file} was not caught (status ${result}):\n${log}")
  endif()
  file(WRITE "${WORK_DIR}/${file}" "${original}")
endforeach()
file(REMOVE_RECURSE "${WORK_DIR}")
