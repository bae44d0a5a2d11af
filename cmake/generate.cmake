# Manual pages of all commands and completions for shells, made by the program itself:
#   cmake -DPROGRAM=... -DTO=DIRECTORY -P generate.cmake
function(generate FILE)
  execute_process(COMMAND ${PROGRAM} generate ${ARGN} OUTPUT_FILE ${TO}/${FILE} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${TO})
file(MAKE_DIRECTORY ${TO}/man1 ${TO}/bash ${TO}/zsh ${TO}/fish)
execute_process(COMMAND ${PROGRAM} generate commands OUTPUT_VARIABLE COMMANDS COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" COMMANDS "${COMMANDS}")
foreach(COMMAND IN LISTS COMMANDS)
  if(COMMAND)
    generate(man1/vorlix-${COMMAND}.1 man ${COMMAND})
  endif()
endforeach()
generate(bash/vorlix completion bash)
generate(zsh/_vorlix completion zsh)
generate(fish/vorlix.fish completion fish)
