/* Compiles the public header as C99 and calls the library, without a radio. */
#include <corvaneble/corvaneble.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

#define EXPECT(condition)                                      \
  do {                                                         \
    if (!(condition)) {                                        \
      printf("line %d: not true: %s\n", __LINE__, #condition); \
      ++failures;                                              \
    }                                                          \
  } while (0)

static int32_t CORVANEBLE_CALL CountEvent(void* userData, int32_t eventId, int32_t paramCount,
                                          const intptr_t* params, const int32_t* lengths) {
  (void)params, (void)lengths;
  EXPECT(eventId >= CORVANEBLE_EVENT_ADVERTISEMENT && eventId <= CORVANEBLE_EVENT_WRITE_RESPONSE);
  EXPECT(paramCount > 0);
  ++*(int*)userData;
  return 0;
}

static void TestInstance(void) {
  int events = 0;
  CorvaneBLE_Handle client = CorvaneBLE_BLEClient_Create(CountEvent, &events, NULL, 0);
  intptr_t params[2] = {(intptr_t) "BuildInfo", 0};
  int32_t lengths[2] = {0, 0};
  const char* version = NULL;
  EXPECT(client != NULL);
  EXPECT(CorvaneBLE_BLEClient_Get(client, CORVANEBLE_PROPERTY_TIMEOUT, 0, NULL, NULL) == 60);
  EXPECT(CorvaneBLE_BLEClient_Set(client, CORVANEBLE_PROPERTY_SERVICE_COUNT, 0, 5, 0) ==
         CORVANEBLE_ERROR_UNKNOWN);
  EXPECT(CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_CONFIG, 2, params, lengths, NULL) ==
         CORVANEBLE_ERROR_NONE);
  memcpy(&version, &params[1], sizeof version); /* GCC 12 would mistake a cast for the array */
  EXPECT(strcmp(version, "20.0.7928") == 0);
  EXPECT(CorvaneBLE_BLEClient_CheckIndex(client, CORVANEBLE_PROPERTY_SERVICE_ID, 0) ==
         CORVANEBLE_ERROR_INDEX_OUT_OF_RANGE);
  EXPECT(CorvaneBLE_BLEClient_SetEventErrorAndCode(client, 7, "mine") == 7);
  EXPECT(strcmp(CorvaneBLE_BLEClient_GetEventError(client), "mine") == 0);
  EXPECT(CorvaneBLE_BLEClient_Destroy(client) == 0);
  EXPECT(events == 0);
}

static void TestText(void) {
  static const CorvaneBLE_Char16 kWide[] = {'a', 'b', 'c', 0};
  CorvaneBLE_EventString text = {0, 65001, 0, NULL, NULL};
  const char* narrow;
  CorvaneBLE_EvtStr(&text, CORVANEBLE_STRING_COPY, kWide, CORVANEBLE_STRING_WIDE);
  narrow = CorvaneBLE_EvtStr(&text, CORVANEBLE_STRING_READ, NULL, CORVANEBLE_STRING_NARROW);
  EXPECT(narrow && strcmp(narrow, "abc") == 0);
  EXPECT(text.ownership == (CORVANEBLE_OWNS_NARROW | CORVANEBLE_OWNS_WIDE));
  CorvaneBLE_EvtStr(&text, CORVANEBLE_STRING_COPY, NULL, CORVANEBLE_STRING_NARROW);
  EXPECT(text.ownership == 0 && text.wide == NULL);
}

static void TestNull(void) {
  intptr_t result = 0;
  EXPECT(CorvaneBLE_BLEClient_Do(NULL, CORVANEBLE_METHOD_DO_EVENTS, 0, NULL, NULL, NULL) ==
         CORVANEBLE_ERROR_OUT_OF_MEMORY);
  EXPECT(CorvaneBLE_BLEClient_GetLastError(NULL) == NULL);
  EXPECT(CorvaneBLE_Stream(NULL, CORVANEBLE_STREAM_ERROR, NULL, &result) == 0);
  EXPECT(strcmp((const char*)result, "Invalid stream pointer.") == 0);
}

int main(void) {
  TestInstance();
  TestText();
  TestNull();
  return failures != 0;
}
