# A Windows program or library asks for nothing but system libraries.
#   cmake -DBINARY=<file> -DOBJDUMP=<tool> -P CheckImports.cmake
execute_process(COMMAND ${OBJDUMP} -p ${BINARY} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "DLL Name: [^\r\n]+" imports "${text}")
if(NOT imports)
  message(FATAL_ERROR "${BINARY} imports nothing; is it what it should be?")
endif()
foreach(import ${imports})
  string(STRIP "${import}" import)
  string(TOUPPER "${import}" import)
  if(NOT import MATCHES "^DLL NAME: (KERNEL32|MSVCRT|WS2_32|ADVAPI32|USER32|SHELL32)\\.DLL$")
    message(FATAL_ERROR "${BINARY}: not a system library: ${import}")
  endif()
endforeach()
