# Exports samples to glTF and shows the files to the validator.
if(NOT NODE)
  message(FATAL_ERROR "node is not there: scripts/install-packages.sh installs it.")
endif()
set(files)
foreach(name beam_010 beam_13c conrod_13c conrod_33c)
  execute_process(COMMAND gunzip -c ${SAMPLES}/${name}.sbr.gz OUTPUT_FILE ${WORK}/${name}.sbr COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${SBR} export ${WORK}/${name}.sbr --glb ${WORK}/${name}.glb COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND files ${WORK}/${name}.glb)
endforeach()
execute_process(COMMAND ${CMAKE_COMMAND} -E env SBRKIT_PICTURE_PACKAGES=${WORK} ${NODE} ${HERE}/validate.mjs ${files}
  COMMAND_ERROR_IS_FATAL ANY)
# It would see a fault.
file(WRITE ${WORK}/broken.glb "glTF but not quite")
execute_process(COMMAND ${CMAKE_COMMAND} -E env SBRKIT_PICTURE_PACKAGES=${WORK} ${NODE} ${HERE}/validate.mjs
  ${WORK}/broken.glb RESULT_VARIABLE code OUTPUT_QUIET ERROR_QUIET)
if(code EQUAL 0)
  message(FATAL_ERROR "The validator takes a broken file for a good one.")
endif()
