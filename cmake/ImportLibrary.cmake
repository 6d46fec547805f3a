# Creates the import library of a 32-bit DLL. Compilers append @ and the size of the arguments to
# the name of a __stdcall function; the DLL exports the plain name. The linker cannot map these.
#
#   cmake -D NM=… -D DLLTOOL=… -D DLL=… -D LIBRARY=… -P ImportLibrary.cmake
execute_process(COMMAND "${NM}" "${DLL}" OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " T _CorvaneBLE_[A-Za-z_]+@[0-9]+" names "${symbols}")
list(TRANSFORM names REPLACE " T _" "")
list(JOIN names "\n" names)
cmake_path(GET DLL FILENAME file)
file(WRITE "${LIBRARY}.def" "EXPORTS\n${names}\n")
execute_process(COMMAND "${DLLTOOL}" --kill-at --input-def "${LIBRARY}.def" --dllname "${file}"
                        --output-lib "${LIBRARY}" COMMAND_ERROR_IS_FATAL ANY)
