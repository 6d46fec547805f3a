/* Prints every advertisement that is received within five seconds. */
#include <corvaneble/corvaneble.h>
#include <stdio.h>

/* Advertisements arrive on a thread of the library, events that a call raises on its own thread. */
static int32_t CORVANEBLE_CALL OnEvent(void* userData, int32_t eventId, int32_t paramCount,
                                       const intptr_t* params, const int32_t* lengths) {
  (void)userData, (void)paramCount, (void)lengths;
  if (eventId == CORVANEBLE_EVENT_ADVERTISEMENT)
    printf("%s %4d dBm  %s\n", (const char*)params[0], (int)params[2], (const char*)params[1]);
  return 0;
}

int main(void) {
  CorvaneBLE_Handle client = CorvaneBLE_BLEClient_Create(OnEvent, NULL, NULL, 0);
  intptr_t params[] = {(intptr_t) ""}; /* UUIDs of services; empty for all devices */
  int32_t lengths[] = {0};
  int32_t code =
      CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_START_SCANNING, 1, params, lengths, NULL);
  if (code != 0) {
    fprintf(stderr, "%s (code %d)\n", CorvaneBLE_BLEClient_GetLastError(client), (int)code);
  } else {
    for (int step = 0; step < 250; ++step) /* each call waits at most 20 ms */
      CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_DO_EVENTS, 0, NULL, NULL, NULL);
  }
  CorvaneBLE_BLEClient_Destroy(client); /* ends the scan; no callback runs afterwards */
  return code == 0 ? 0 : 1;
}
