cmake_minimum_required(VERSION 3.21)
# Fails unless the DLL exports just its entry points, undecorated, and imports system DLLs only.
# OBJDUMP is the program that reads it.
set(expected_exports DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer RegisterServerFromMsi
                     UnregisterServerFromMsi)
# In lower case. What the compiler brings must be linked in statically: it is not there on a user's machine.
set(system_dlls
    advapi32.dll
    dbghelp.dll
    kernel32.dll
    mfplat.dll
    msvcrt.dll
    ntdll.dll
    ole32.dll
    propsys.dll
    shell32.dll
    shlwapi.dll
    user32.dll
    version.dll)

execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} could not read ${DLL}.")
endif()

# "	[   0] DllCanUnloadNow" in the table of names, which comes last of the export tables.
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table.*" names "${dump}")
string(REGEX REPLACE "\n\n.*" "" names "${names}")
string(REGEX MATCHALL "\\[ *[0-9]+\\] [^\n\r]+" rows "${names}")
set(exports)
foreach(row ${rows})
  string(REGEX REPLACE "^\\[ *[0-9]+\\] " "" name "${row}")
  list(APPEND exports ${name})
endforeach()
list(SORT exports)
if(NOT exports STREQUAL expected_exports)
  message(FATAL_ERROR "The exports are\n  ${exports}\nand not\n  ${expected_exports}")
endif()

string(REGEX MATCHALL "DLL Name: [^\n\r]+" rows "${dump}")
set(imports)
foreach(row ${rows})
  string(REPLACE "DLL Name: " "" name "${row}")
  string(TOLOWER ${name} name)
  list(APPEND imports ${name})
endforeach()
set(foreign ${imports})
list(REMOVE_ITEM foreign ${system_dlls})
if(NOT imports OR foreign)
  message(FATAL_ERROR "Imports that are no known system DLLs: ${foreign} (of ${imports})")
endif()
message("Exports: ${exports}\nImports: ${imports}")
