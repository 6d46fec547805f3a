/* A host that has never seen our header or import library: argument 1 is the DLL. */
#include <stdio.h>
#include <string.h>
#include <windows.h>

typedef void*(WINAPI* Create)(void* callback, void* userData, void* reserved, int flags);
typedef int(WINAPI* Destroy)(void* client);
typedef INT_PTR(WINAPI* Get)(void* client, int property, int index, int* length, void* reserved);

/* By way of void*, for a function pointer cannot be cast to another that differs so much. */
static void* Find(HMODULE library, const char* name) {
  FARPROC found = GetProcAddress(library, name);
  void* function = NULL;
  memcpy(&function, &found, sizeof function);
  if (!function) printf("%s is missing\n", name);
  return function;
}

int main(int argc, char** argv) {
  int round;
  for (round = 0; argc == 2 && round < 3; ++round) {
    HMODULE library = LoadLibraryA(argv[1]);
    Create create;
    Destroy destroy;
    Get get;
    void* function;
    void* client;
    if (!library) return printf("the library cannot be loaded: %lu\n", GetLastError()), 1;
    function = Find(library, "CorvaneBLE_BLEClient_Create"),
    memcpy(&create, &function, sizeof create);
    function = Find(library, "CorvaneBLE_BLEClient_Destroy");
    memcpy(&destroy, &function, sizeof destroy);
    function = Find(library, "CorvaneBLE_BLEClient_Get"), memcpy(&get, &function, sizeof get);
    if (!create || !destroy || !get) return 1;
    client = create(NULL, NULL, NULL, 0);
    if (!client || get(client, 32, 0, NULL, NULL) != 60) return puts("no instance"), 1;
    if (destroy(client) != 0 || !FreeLibrary(library)) return puts("it does not go"), 1;
    if (GetModuleHandleA("corvaneble.dll")) return puts("it stays loaded"), 1;
  }
  return argc == 2 ? 0 : 1;
}
