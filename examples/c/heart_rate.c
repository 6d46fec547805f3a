/* Scans for a heart rate strap, connects to it, and prints ten heart rates. */
#include <corvaneble/corvaneble.h>
#include <pthread.h> /* C99 has no locks; MinGW-w64 provides these on Windows */
#include <stdio.h>
#include <string.h>

enum { WANTED_RATES = 10, STEPS_PER_SECOND = 50 };

/* Data from the callback for the main thread. Advertisements and values arrive on threads of the
 * library, so the lock guards all fields. Event parameters are valid only during the callback. */
typedef struct {
  char strap[13]; /* the address; empty until an advertisement was received */
  int rates[WANTED_RATES];
  int rate_count;
  int is_lost;
} State;

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

/* Heart Rate Measurement: flags (bit 0: the rate has 16 bits), then the rate. */
static int RateOf(const unsigned char* value, int32_t size) {
  if (size < 2) return -1;
  if ((value[0] & 1) == 0) return value[1];
  return size < 3 ? -1 : value[1] | value[2] << 8;
}

static int32_t CORVANEBLE_CALL OnEvent(void* user, int32_t event, int32_t count,
                                       const intptr_t* params, const int32_t* lengths) {
  State* state = user;
  (void)count;
  pthread_mutex_lock(&lock);
  if (event == CORVANEBLE_EVENT_ADVERTISEMENT && state->strap[0] == '\0') {
    snprintf(state->strap, sizeof state->strap, "%s", (const char*)params[0]);
  } else if (event == CORVANEBLE_EVENT_VALUE &&
             strncmp((const char*)params[3], "00002A37", 8) == 0) {
    if (state->rate_count < WANTED_RATES)
      state->rates[state->rate_count++] = RateOf((const unsigned char*)params[5], lengths[5]);
  } else if (event == CORVANEBLE_EVENT_DISCONNECTED) {
    state->is_lost = 1;
  }
  pthread_mutex_unlock(&lock);
  return 0;
}

/* Calls a method with at most two parameters, which are texts. Returns whether it succeeded. */
static int Do(CorvaneBLE_Handle client, int32_t method, const char* first, const char* second) {
  intptr_t params[] = {(intptr_t)first, (intptr_t)second};
  int32_t lengths[] = {0, 0};
  return CorvaneBLE_BLEClient_Do(client, method, 2, params, lengths, NULL) == 0;
}

/* Waits until `is_reached` returns true, at most `seconds`, in steps of 20 ms. Events arrive
 * meanwhile. Returns whether the condition was reached. */
static int WaitFor(CorvaneBLE_Handle client, State* state, int (*is_reached)(const State*),
                   int seconds) {
  int reached = 0;
  for (int step = 0; step < seconds * STEPS_PER_SECOND && !reached; ++step) {
    if (!Do(client, CORVANEBLE_METHOD_DO_EVENTS, "", "")) return 0;
    pthread_mutex_lock(&lock);
    reached = is_reached(state);
    pthread_mutex_unlock(&lock);
  }
  return reached;
}

static int IsHeard(const State* state) {
  return state->strap[0] != '\0';
}
static int IsDone(const State* state) {
  return state->rate_count == WANTED_RATES || state->is_lost;
}

static const char* Text(CorvaneBLE_Handle client, int32_t property, int32_t index) {
  return (const char*)CorvaneBLE_BLEClient_Get(client, property, index, NULL, NULL);
}

/* Finds the characteristic of the selected service whose UUID begins with `uuid` (8 digits), and
 * copies its identifier to `id`. */
static int FindCharacteristic(CorvaneBLE_Handle client, const char* uuid, char id[13]) {
  int32_t count = (int32_t)CorvaneBLE_BLEClient_Get(
      client, CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT, 0, NULL, NULL);
  for (int32_t i = 0; i < count; ++i) {
    if (strncmp(Text(client, CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID, i), uuid, 8) != 0) continue;
    snprintf(id, 13, "%s", Text(client, CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, i));
    return 1;
  }
  return 0;
}

/* Body Sensor Location: 1 is the chest, 2 a wrist. The characteristic is optional. */
static void PrintWhereItIsWorn(CorvaneBLE_Handle client, const char* service) {
  char location[13];
  if (!FindCharacteristic(client, "00002A38", location)) return;
  intptr_t params[] = {(intptr_t)service, (intptr_t)location, (intptr_t) "", 0};
  int32_t lengths[4] = {0};
  if (CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_READ_VALUE, 4, params, lengths, NULL) ==
          0 &&
      lengths[3] == 1)
    printf("worn at place %d\n", *(const unsigned char*)params[3]);
}

/* Returns 1 for success. Returns 0 after a failure; if a call failed, GetLastError has the text. */
static int Run(CorvaneBLE_Handle client, State* state) {
  if (!Do(client, CORVANEBLE_METHOD_START_SCANNING, "180D", "")) return 0;
  if (!WaitFor(client, state, IsHeard, 30)) return fputs("no strap is in range\n", stderr), 0;
  if (!Do(client, CORVANEBLE_METHOD_STOP_SCANNING, "", "")) return 0;
  /* `strap` does not change after it was set, so it can be read without the lock. */
  if (!Do(client, CORVANEBLE_METHOD_CONNECT, state->strap, "")) return 0;
  intptr_t params[] = {(intptr_t) "180D", (intptr_t) "", 0, (intptr_t) ""};
  int32_t lengths[4] = {0};
  if (CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_DISCOVER, 4, params, lengths, NULL) != 0)
    return 0;
  printf("connected to %s\n", Text(client, CORVANEBLE_PROPERTY_SERVER_NAME, 0));

  char service[13], rate[13];
  snprintf(service, sizeof service, "%s", Text(client, CORVANEBLE_PROPERTY_SERVICE_ID, 0));
  if (!Do(client, CORVANEBLE_METHOD_SELECT, service, "")) return 0;
  PrintWhereItIsWorn(client, service);
  if (!FindCharacteristic(client, "00002A37", rate)) return fputs("no heart rate\n", stderr), 0;
  if (!Do(client, CORVANEBLE_METHOD_SUBSCRIBE, service, rate)) return 0;
  int done = WaitFor(client, state, IsDone, 60);
  pthread_mutex_lock(&lock); /* values still arrive */
  done = done && !state->is_lost;
  for (int i = 0; i < state->rate_count; ++i)
    printf("%d beats a minute\n", state->rates[i]);
  pthread_mutex_unlock(&lock);
  if (!done) return fputs("the strap fell silent\n", stderr), 0;
  return Do(client, CORVANEBLE_METHOD_UNSUBSCRIBE, service, rate) &&
         Do(client, CORVANEBLE_METHOD_DISCONNECT, "", "");
}

int main(void) {
  State state = {"", {0}, 0, 0};
  CorvaneBLE_Handle client = CorvaneBLE_BLEClient_Create(OnEvent, &state, NULL, 0);
  if (client == NULL) return fputs("out of memory\n", stderr), 1;
  int done = Run(client, &state);
  int code = CorvaneBLE_BLEClient_GetLastErrorCode(client);
  if (!done && code != 0)
    fprintf(stderr, "%s (code %d)\n", CorvaneBLE_BLEClient_GetLastError(client), code);
  CorvaneBLE_BLEClient_Destroy(client); /* no callback runs afterwards: `state` may end */
  return done ? 0 : 1;
}
