/* A host without the header and the import library; argument 1 is the DLL. It calls with stacks
 * aligned to only 4 bytes, as other compilers do. */
#include <stdio.h>
#include <string.h>
#include <windows.h>

enum { kTimeout = 32, kStartScanning = 13, kStopScanning = 14 };

static void* client;
static DWORD mainThread;
static volatile LONG foreignEvents; /* on threads of the library */
static volatile LONG nestedAnswers; /* results of calls inside the callback */

static void* get;

/* Calls a __stdcall function with the stack `shift` bytes (0 to 12) off an alignment of 16. */
static INT_PTR CallAt(int shift, void* function, int count, const INT_PTR* args) {
  INT_PTR result;
  __asm__ volatile(
      "movl %%esp, %%esi\n\t"
      "andl $-16, %%esp\n\t"
      "subl %%ebx, %%esp\n\t"
      "1: testl %%ecx, %%ecx\n\t"
      "jz 2f\n\t"
      "decl %%ecx\n\t"
      "pushl (%%edx, %%ecx, 4)\n\t"
      "jmp 1b\n\t"
      "2: call *%%edi\n\t"
      "movl %%esi, %%esp"
      : "=a"(result), "+c"(count), "+d"(args)
      : "D"(function), "b"(shift)
      : "esi", "memory", "cc");
  return result;
}

static INT_PTR GetInteger(int shift, int property) {
  const INT_PTR args[] = {(INT_PTR)client, property, 0, 0, 0};
  return CallAt(shift, get, 5, args);
}

static INT WINAPI OnEvent(void* userData, INT event, INT count, const INT_PTR* params,
                          const INT* lengths) {
  (void)event, (void)count, (void)params, (void)lengths;
  if (userData != &client || GetCurrentThreadId() == mainThread) return 0;
  InterlockedIncrement(&foreignEvents);
  if (GetInteger((foreignEvents & 3) * 4, kTimeout) == 60) InterlockedIncrement(&nestedAnswers);
  return 0;
}

static void* Find(HMODULE library, const char* name) {
  FARPROC found = GetProcAddress(library, name);
  void* function = NULL; /* a function pointer cannot be cast to void* */
  memcpy(&function, &found, sizeof function);
  if (!function) printf("%s is missing\n", name);
  return function;
}

static int UseInstance(int shift, void* invoke) {
  INT_PTR params[2] = {0, 0};
  INT lengths[2] = {0, 0};
  INT_PTR scan[] = {(INT_PTR)client, kStartScanning, 1, (INT_PTR)params, (INT_PTR)lengths, 0};
  int waited;
  if (GetInteger(shift, kTimeout) != 60) return puts("no instance"), 1;
  if (CallAt(shift, invoke, 6, scan) != 0) return puts("no scan"), 1;
  for (waited = 0; foreignEvents < 8 && waited < 10000; waited += 10)
    Sleep(10);
  scan[1] = kStopScanning;
  if (CallAt(shift, invoke, 6, scan) != 0) return puts("the scan does not stop"), 1;
  if (foreignEvents < 8 || nestedAnswers != foreignEvents) return puts("events are missing"), 1;
  return 0;
}

int main(int argc, char** argv) {
  int shift;
  mainThread = GetCurrentThreadId();
  SetEnvironmentVariableA("CORVANEBLE_RADIO", "simulated");
  for (shift = 0; argc == 2 && shift < 16; shift += 4) {
    HMODULE library = LoadLibraryA(argv[1]);
    INT_PTR args[4] = {0, (INT_PTR)&client, 0, 0};
    void *create, *destroy, *invoke, *callback;
    INT(WINAPI * handler)(void*, INT, INT, const INT_PTR*, const INT*) = &OnEvent;
    if (!library) return printf("the library cannot be loaded: %lu\n", GetLastError()), 1;
    create = Find(library, "CorvaneBLE_BLEClient_Create");
    destroy = Find(library, "CorvaneBLE_BLEClient_Destroy");
    invoke = Find(library, "CorvaneBLE_BLEClient_Do");
    get = Find(library, "CorvaneBLE_BLEClient_Get");
    if (!create || !destroy || !invoke || !get) return 1;
    memcpy(&callback, &handler, sizeof callback);
    args[0] = (INT_PTR)callback;
    foreignEvents = nestedAnswers = 0;
    client = (void*)CallAt(shift, create, 4, args);
    if (!client || UseInstance(shift, invoke) != 0) return 1;
    args[0] = (INT_PTR)client;
    if (CallAt(shift, destroy, 1, args) != 0 || !FreeLibrary(library))
      return puts("it does not go"), 1;
    if (GetModuleHandleA("corvaneble.dll")) return puts("it stays loaded"), 1;
  }
  return argc == 2 ? 0 : 1;
}
