/*
 * CorvaneBLE: Bluetooth Low Energy for any program that can call C functions.
 *
 * An instance scans for devices, connects to one of them (the server), discovers its services,
 * characteristics and descriptors, reads and writes their values and subscribes to them. It is
 * driven by numbers: properties are read with Get and written with Set, methods are called with
 * Do, and 13 events arrive through one callback given to Create.
 *
 *     static int32_t CORVANEBLE_CALL OnEvent(void* userData, int32_t eventId, int32_t paramCount,
 *                                            const intptr_t* params, const int32_t* lengths) {
 *       if (eventId == CORVANEBLE_EVENT_ADVERTISEMENT)
 *         printf("%s  %s  %d dBm\n", (const char*)params[0], (const char*)params[1],
 *                (int)params[2]);
 *       return 0;
 *     }
 *
 *     CorvaneBLE_Handle client = CorvaneBLE_BLEClient_Create(OnEvent, NULL, NULL, 0);
 *     intptr_t params[] = {(intptr_t)"180D"};
 *     int32_t lengths[] = {0};
 *     int32_t code = CorvaneBLE_BLEClient_Do(client, CORVANEBLE_METHOD_START_SCANNING, 1, params,
 *                                            lengths, NULL);
 *     if (code != 0) puts(CorvaneBLE_BLEClient_GetLastError(client));
 *
 * Conventions
 *
 * - Codes. Set, Do and CheckIndex return 0 or an error code (CorvaneBLE_Error). The code and a text
 *   are kept for GetLastErrorCode and GetLastError, except for Set's -1 and 432, CheckIndex's 280
 *   and the codes of the two conversions, which are only returned. A success sets the code to 0 and
 *   leaves the text unchanged. No exception crosses this boundary.
 * - Values are pointer-sized (intptr_t). An integer or a boolean is the value itself; a text is a
 *   pointer to NUL-terminated text; bytes are a pointer, with their count in the `lengths` array.
 *   A null text counts as the empty one.
 * - Texts are narrow, in the code page of the instance (the system's own unless the setting
 *   "CodePage" says otherwise; UTF-8 on Linux), or UTF-16 (16-bit units, as char16_t) when
 *   CORVANEBLE_WIDE is added to the property or method number.
 * - Lifetimes. A pointer that is handed out belongs to the instance. It is valid until the same
 *   thread asks for the same value again, until that thread ends, or until what it describes is
 *   gone (Disconnect, Destroy). What an event delivers is valid while the callback runs.
 * - Identifiers. A service, characteristic or descriptor is named by 12 hexadecimal digits: the
 *   attribute handles of the three levels, "0000" where one does not apply. A server is named by
 *   its 48-bit Bluetooth address as 12 hexadecimal digits, most significant byte first. Both are
 *   handed out in upper case and accepted in either case. In an address, a pair of characters that
 *   is missing or not hexadecimal counts as FF: no text is refused, and a mistyped one names a
 *   device that does not exist (604).
 * - UUIDs are handed out as 36 upper-case characters ("0000180D-0000-1000-8000-00805F9B34FB") and
 *   accepted as 4, 8 or 32 hexadecimal digits too. Lists of them are separated by commas. Blanks
 *   around a UUID, and "0x" or "-" anywhere in it, are ignored. Of the rest only the length is
 *   checked (600); a pair that is not hexadecimal counts as FF. A call with a mistyped UUID may
 *   therefore find nothing and return 0.
 * - Threads. One host thread at a time may use an instance; different instances are independent.
 *   Events that a method raises arrive on the calling thread, inside the call. Advertisements,
 *   notifications and changes of the link or the server arrive on threads of the platform, at any
 *   time, several at once. Any function may be called from inside the callback, Destroy included.
 *   Once Destroy has returned, no callback of the instance runs any more, except the one that
 *   Destroy was called from.
 * - Waiting. Each operation of the radio may take `Timeout` seconds. On Windows the messages of the
 *   calling thread are dispatched meanwhile.
 * - The radio is chosen when an instance is created, by the environment variable CORVANEBLE_RADIO:
 *     auto                  the machine's own radio (also when the variable is not set)
 *     simulated             a built-in scene of a few devices, without any hardware
 *     simulated:FILE.json   the devices that a scenario file describes
 *     linux, linux:hciN     BlueZ's default adapter, or the one named
 *     windows               not built yet: every use fails with 614
 *   Creating an instance always succeeds. A radio that was asked for by name and is not available
 *   fails when it is first used, with CORVANEBLE_ERROR_PLATFORM_FAILURE (614) and the reason. Where
 *   `auto` finds no adapter, StartScanning fails with 613 and Connect with 604, and a Log event of
 *   type "Radio" gives the reason where it is known.
 */
#pragma once

#include <stdint.h>

#if defined(_WIN32)
#if defined(CORVANEBLE_BUILDING)
#define CORVANEBLE_API __declspec(dllexport)
#else
#define CORVANEBLE_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define CORVANEBLE_API __attribute__((visibility("default")))
#else
#define CORVANEBLE_API
#endif

/** The calling convention of every export and of the callback. */
#if defined(_WIN32) && (defined(__i386__) || defined(_M_IX86))
#define CORVANEBLE_CALL __stdcall
#else
#define CORVANEBLE_CALL
#endif

#ifdef __cplusplus
extern "C" {
/** One unit of UTF-16 text: char16_t in C++, a 16-bit integer in C. */
typedef char16_t CorvaneBLE_Char16;
#else
typedef uint16_t CorvaneBLE_Char16;
#endif

/** An instance. Null is refused by every function; a destroyed one cannot be recognised. */
typedef void* CorvaneBLE_Handle;

/** Added to a property or method number: its texts are UTF-16. */
#define CORVANEBLE_WIDE 10000

/** Added to the number of a byte-array property: Get takes the bytes as narrow text, returns them
 *  as UTF-16 text and sets the length to the number of UTF-16 units. */
#define CORVANEBLE_BYTES_AS_WIDE 20000

/** Flag of Create: texts in events are UTF-16. */
#define CORVANEBLE_UNICODE_EVENTS 1

/** What an advertisement without a transmit power level reports as its `TxPower`. */
#define CORVANEBLE_TX_POWER_ABSENT INT32_MIN

/** What an advertisement without manufacturer data reports as its `ManufacturerCompanyId`. */
#define CORVANEBLE_COMPANY_ABSENT (-1)

/* ---------------------------------------------------------------------------------------------
 * Numbers
 * ------------------------------------------------------------------------------------------- */

/**
 * Properties. R: read, R/W: read and write. The indexed ones take an index into the list of
 * services, of characteristics of the selected service, or of descriptors of the selected
 * characteristic; every other one ignores the index.
 */
enum CorvaneBLE_Property {
  CORVANEBLE_PROPERTY_VERSION = 0, /**< text, R: "CORVANEBLE_VERSION_20_0_7928" */

  /** boolean, R/W, default 0: ask devices for their scan response. Cannot change while scanning
   *  (602). */
  CORVANEBLE_PROPERTY_ACTIVE_SCANNING = 1,
  /** text, R/W: identifier of the selected characteristic, of the selected service. Setting it
   *  fills the list of descriptors; empty selects none. Fails with 601 or 602. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC = 2,
  CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT = 3, /**< integer, R/W; smaller drops the last ones */

  /* Indexed by characteristic. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_CACHED_VALUE = 4,  /**< bytes, R: last value; no radio use */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_CAN_SUBSCRIBE = 5, /**< boolean, R: notifies or indicates */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_DESCRIPTION = 6,   /**< text, R: assigned name, or empty */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS = 7,         /**< integer, R: bits CorvaneBLE_Flag */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_ID = 8,            /**< text, R */
  /** boolean, R/W. Read: asks the device for its configuration. Write: subscribes or
   *  unsubscribes; 602 when it can neither notify nor indicate. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED = 9,
  /** text, R/W: the user description descriptor. Writing needs CORVANEBLE_FLAG_WRITABLE_AUXILIARIES
   *  (602) and the descriptor (611). */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION = 10,
  CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID = 11, /**< text, R */
  /** integer, R: the value counts units of ten to this power; 0 without a presentation format. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT = 12,
  /** integer, R: CorvaneBLE_ValueFormat of the selected presentation format. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT = 13,
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_COUNT = 14, /**< integer, R */
  /** integer, R/W: the selected presentation format, -1 when there are none. 202 when there is no
   *  such format. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX = 15,
  /** text, R: UUID of the selected presentation format's unit (Assigned Numbers, 3.5), or empty. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT = 16,

  CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT = 17, /**< integer, R */

  /* Indexed by descriptor. */
  CORVANEBLE_PROPERTY_DESCRIPTOR_CACHED_VALUE = 18, /**< bytes, R: last value; no radio use */
  CORVANEBLE_PROPERTY_DESCRIPTOR_DESCRIPTION = 19,  /**< text, R: assigned name, or empty */
  CORVANEBLE_PROPERTY_DESCRIPTOR_ID = 20,           /**< text, R */
  CORVANEBLE_PROPERTY_DESCRIPTOR_UUID = 21,         /**< text, R */

  CORVANEBLE_PROPERTY_SCANNING = 22,    /**< boolean, R */
  CORVANEBLE_PROPERTY_SERVER_ID = 23,   /**< text, R: address; empty when not connected */
  CORVANEBLE_PROPERTY_SERVER_NAME = 24, /**< text, R: empty when not connected */
  /** text, R/W: identifier of the selected service. Setting it deselects the characteristic and
   *  fills the list of characteristics; empty selects none. Fails with 601. */
  CORVANEBLE_PROPERTY_SERVICE = 25,
  CORVANEBLE_PROPERTY_SERVICE_COUNT = 26, /**< integer, R: primary and included services */

  /* Indexed by service. */
  CORVANEBLE_PROPERTY_SERVICE_DESCRIPTION = 27,      /**< text, R: assigned name, or empty */
  CORVANEBLE_PROPERTY_SERVICE_ID = 28,               /**< text, R */
  CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS = 29, /**< text, R: separated by commas */
  CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS = 30,   /**< text, R: who includes it; by commas */
  CORVANEBLE_PROPERTY_SERVICE_UUID = 31,             /**< text, R */

  /** integer, R/W, default 60: seconds that each operation of the radio may take; a negative value
   *  is stored as 0. */
  CORVANEBLE_PROPERTY_TIMEOUT = 32,

  CORVANEBLE_PROPERTY_CODE_PAGE = 2010 /**< integer, R: of narrow texts; set with "CodePage" */
};

/**
 * Methods, with the parameters by position. Outputs are written back to their position in `params`
 * and `lengths`. Besides the failures named with a method: 202 and 601 for an identifier that is
 * missing or names nothing discovered, 600 for a malformed UUID, and from the radio 301 (no answer
 * in time), 605 (not connected), 606, 607, 612, 614, 7xx and 95x.
 */
enum CorvaneBLE_Method {
  /**
   * Reads or writes a setting. 0: "Name", "Name[index]" or "Name=value"; out 1: the answer, text,
   * empty for a write. Code -1 for a name nobody knows. Settings: AutoDiscoverCharacteristics,
   * AutoDiscoverDescriptors, AutoDiscoverIncludedServices, BuildInfo (read), CodePage,
   * GattObjTreeInfo (read: report of everything discovered), IncludeRediscovered, LogLevel,
   * PreferIndications, ScanStartedTimeout; and, only inside an Advertisement event and on its
   * thread, ManufacturerDataCount, ManufacturerCompanyId[i], ManufacturerData[i],
   * ServiceData=UUID (602 elsewhere). Names are compared without regard to case.
   */
  CORVANEBLE_METHOD_CONFIG = 2,
  /** 0: address of the server. Ends a scan and a former connection first. The radio link opens
   *  with the first use. 604 when there is no such device. */
  CORVANEBLE_METHOD_CONNECT = 3,
  CORVANEBLE_METHOD_DISCONNECT = 4, /**< Forgets everything discovered. */
  /**
   * Discovers services and their characteristics. 0: UUIDs of services, empty for all; 1: UUIDs of
   * characteristics, empty for all; 2: boolean, descriptors too; 3: identifier of the service whose
   * included services are wanted, empty for the primary services. 609: services include each other
   * in a circle or too deeply, or the server reports more attributes than it can have.
   */
  CORVANEBLE_METHOD_DISCOVER = 5,
  /** 0: service; 1: UUIDs of characteristics, empty for all. */
  CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS = 6,
  /** 0: service; 1: characteristic. */
  CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS = 7,
  /** 0: UUIDs of services, empty for all; 1: the including service, empty for primary services. */
  CORVANEBLE_METHOD_DISCOVER_SERVICES = 8,
  /** Lets due work and window messages run on the calling thread; returns within about 20 ms. */
  CORVANEBLE_METHOD_DO_EVENTS = 9,
  /** Writes without response. 0: service; 1: characteristic; 2: bytes, their count in length 2. */
  CORVANEBLE_METHOD_POST_VALUE = 10,
  /** Reads from the device. 0: service; 1: characteristic; 2: descriptor, empty for the
   *  characteristic's own value; out 3: bytes, their count in length 3. The call therefore needs
   *  four elements in both arrays. */
  CORVANEBLE_METHOD_READ_VALUE = 11,
  /** Selects for the indexed properties. 0: service; 1: characteristic; empty selects none. */
  CORVANEBLE_METHOD_SELECT = 12,
  /** 0: UUIDs of services, all of which an advertisement must list; empty for every advertisement.
   *  During a scan nothing happens and its filter stays. 613 when there is no radio. Success does
   *  not prove that the radio listens: StartScan does. */
  CORVANEBLE_METHOD_START_SCANNING = 13,
  CORVANEBLE_METHOD_STOP_SCANNING = 14, /**< Returns when the radio has stopped. */
  /** 0: service; 1: characteristic. Its values arrive as Value events. */
  CORVANEBLE_METHOD_SUBSCRIBE = 15,
  CORVANEBLE_METHOD_UNSUBSCRIBE = 16, /**< 0: service; 1: characteristic. */
  /** Writes with response. 0: service; 1: characteristic; 2: descriptor, empty for the
   *  characteristic's own value; 3: bytes, their count in length 3. */
  CORVANEBLE_METHOD_WRITE_VALUE = 17,
  /** Converts narrow text to UTF-16; `paramCount` must be 2 although three positions are used. 0:
   *  text, its bytes in length 0; 1: buffer, its capacity in UTF-16 units in length 1; out 2: units
   *  written, or needed when the capacity is 0. */
  CORVANEBLE_METHOD_CONVERT_TO_WIDE = 2003
};

/**
 * Events, with the parameters by position (s text, i integer, b bytes with their count in
 * `lengths` and one 0 byte after them).
 */
enum CorvaneBLE_Event {
  /**
   * A packet was heard; on a platform thread. 0 s address; 1 s name, may be empty; 2 i RSSI, dBm;
   * 3 i transmit power, dBm, or CORVANEBLE_TX_POWER_ABSENT; 4 s UUIDs of services; 5 s UUIDs of
   * services with data; 6 s UUIDs of solicited services; 7 i company identifier, or
   * CORVANEBLE_COMPANY_ABSENT; 8 b manufacturer data of the first section; 9 i is connectable;
   * 10 i is a scan response.
   */
  CORVANEBLE_EVENT_ADVERTISEMENT = 1,
  CORVANEBLE_EVENT_CONNECTED = 2,    /**< 0 i code; 1 s "OK", "Online", or the error's text */
  CORVANEBLE_EVENT_DISCONNECTED = 3, /**< 0 i code; 1 s "OK", or "Offline" for a lost link */
  /** 0 i CorvaneBLE_GattType; 1 s service; 2 s characteristic, or empty; 3 s descriptor, or empty;
   *  4 s UUID; 5 s assigned name, or empty. */
  CORVANEBLE_EVENT_DISCOVERED = 4,
  CORVANEBLE_EVENT_ERROR = 5, /**< 0 i code; 1 s text */
  CORVANEBLE_EVENT_LOG = 6,   /**< 0 i CorvaneBLE_LogLevel; 1 s message; 2 s kind */
  /** 0 s the server's new name, or empty; 1 s what is known of changed services, or empty. */
  CORVANEBLE_EVENT_SERVER_UPDATE = 7,
  CORVANEBLE_EVENT_START_SCAN = 8, /**< 0 s UUIDs of the filter in effect */
  CORVANEBLE_EVENT_STOP_SCAN = 9,  /**< 0 i code, 0 for an ordinary end; 1 s reason */
  /** 0 s service; 1 s characteristic; 2 s UUID; 3 s assigned name. */
  CORVANEBLE_EVENT_SUBSCRIBED = 10,
  CORVANEBLE_EVENT_UNSUBSCRIBED = 11, /**< As Subscribed. */
  /** A value was read, or came by notification or indication. 0 s service; 1 s characteristic;
   *  2 s descriptor, or empty; 3 s UUID; 4 s assigned name; 5 b value. */
  CORVANEBLE_EVENT_VALUE = 12,
  /** A write was confirmed. 0 s service; 1 s characteristic; 2 s descriptor, or empty; 3 s UUID;
   *  4 s assigned name. */
  CORVANEBLE_EVENT_WRITE_RESPONSE = 13
};

/** Error codes. Text conversions add the platform's own error numbers. */
enum CorvaneBLE_Error {
  CORVANEBLE_ERROR_NONE = 0,
  /** No such setting; no such property, or a read-only one; wrong parameter count of
   *  ConvertToWide. */
  CORVANEBLE_ERROR_UNKNOWN = -1,
  CORVANEBLE_ERROR_OUT_OF_MEMORY = 200, /**< Also: null instead of an instance. */
  CORVANEBLE_ERROR_INVALID_ARGUMENT = 202,
  CORVANEBLE_ERROR_INDEX_OUT_OF_RANGE = 280, /**< CheckIndex */
  CORVANEBLE_ERROR_TIMEOUT = 301,
  CORVANEBLE_ERROR_INVALID_INDEX = 432, /**< Get and Set of an indexed property */
  CORVANEBLE_ERROR_MALFORMED_UUID = 600,
  CORVANEBLE_ERROR_NOT_DISCOVERED = 601, /**< nothing discovered has that identifier */
  CORVANEBLE_ERROR_INVALID_STATE = 602,
  CORVANEBLE_ERROR_SCAN_ABORTED = 603,
  CORVANEBLE_ERROR_CONNECT_FAILED = 604,
  CORVANEBLE_ERROR_NOT_CONNECTED = 605,
  CORVANEBLE_ERROR_ACCESS_DENIED = 606, /**< Also: an ATT error without a meaning. */
  CORVANEBLE_ERROR_UNREACHABLE = 607,
  CORVANEBLE_ERROR_INCLUSION_CYCLE = 609,
  CORVANEBLE_ERROR_NO_USER_DESCRIPTION = 611,
  CORVANEBLE_ERROR_APPLICATION = 612, /**< ATT errors 0x80 to 0x9F; the text has the number */
  CORVANEBLE_ERROR_NO_RADIO = 613,
  /** The platform itself failed; text "Platform failure [0xN]: MESSAGE" with the platform's own
   *  number, in hexadecimal, and message. */
  CORVANEBLE_ERROR_PLATFORM_FAILURE = 614,

  /* ATT errors: 700 plus the error byte (Bluetooth Core 5.4, Vol 3 Part F, 3.4.1.1). */
  CORVANEBLE_ERROR_INVALID_HANDLE = 701,
  CORVANEBLE_ERROR_READ_NOT_PERMITTED = 702,
  CORVANEBLE_ERROR_WRITE_NOT_PERMITTED = 703,
  CORVANEBLE_ERROR_INVALID_PDU = 704,
  CORVANEBLE_ERROR_INSUFFICIENT_AUTHENTICATION = 705,
  CORVANEBLE_ERROR_REQUEST_NOT_SUPPORTED = 706,
  CORVANEBLE_ERROR_INVALID_OFFSET = 707,
  CORVANEBLE_ERROR_INSUFFICIENT_AUTHORIZATION = 708,
  CORVANEBLE_ERROR_PREPARE_QUEUE_FULL = 709,
  CORVANEBLE_ERROR_ATTRIBUTE_NOT_FOUND = 710,
  CORVANEBLE_ERROR_ATTRIBUTE_NOT_LONG = 711,
  CORVANEBLE_ERROR_INSUFFICIENT_ENCRYPTION_KEY_SIZE = 712,
  CORVANEBLE_ERROR_INVALID_ATTRIBUTE_VALUE_LENGTH = 713,
  CORVANEBLE_ERROR_UNLIKELY_ERROR = 714,
  CORVANEBLE_ERROR_INSUFFICIENT_ENCRYPTION = 715,
  CORVANEBLE_ERROR_UNSUPPORTED_GROUP_TYPE = 716,
  CORVANEBLE_ERROR_INSUFFICIENT_RESOURCES = 717,

  /* Errors common to profiles, ATT 0xFC to 0xFF. */
  CORVANEBLE_ERROR_WRITE_REQUEST_REJECTED = 952,
  CORVANEBLE_ERROR_CCCD_IMPROPERLY_CONFIGURED = 953,
  CORVANEBLE_ERROR_PROCEDURE_ALREADY_IN_PROGRESS = 954,
  CORVANEBLE_ERROR_VALUE_OUT_OF_RANGE = 955
};

/** What a characteristic allows: bits of CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS. */
enum CorvaneBLE_Flag {
  CORVANEBLE_FLAG_BROADCAST = 0x001,
  CORVANEBLE_FLAG_READ = 0x002,
  CORVANEBLE_FLAG_WRITE_WITHOUT_RESPONSE = 0x004,
  CORVANEBLE_FLAG_WRITE = 0x008,
  CORVANEBLE_FLAG_NOTIFY = 0x010,
  CORVANEBLE_FLAG_INDICATE = 0x020,
  CORVANEBLE_FLAG_AUTHENTICATED_SIGNED_WRITES = 0x040,
  CORVANEBLE_FLAG_RELIABLE_WRITES = 0x080,
  CORVANEBLE_FLAG_WRITABLE_AUXILIARIES = 0x100
};

/** How the bytes of a value are to be read (Assigned Numbers, 2.4.1). All little-endian. */
enum CorvaneBLE_ValueFormat {
  CORVANEBLE_FORMAT_UNKNOWN = 0,
  CORVANEBLE_FORMAT_BOOLEAN = 1,
  CORVANEBLE_FORMAT_BIT2 = 2,
  CORVANEBLE_FORMAT_NIBBLE = 3,
  CORVANEBLE_FORMAT_UINT8 = 4,
  CORVANEBLE_FORMAT_UINT12 = 5,
  CORVANEBLE_FORMAT_UINT16 = 6,
  CORVANEBLE_FORMAT_UINT24 = 7,
  CORVANEBLE_FORMAT_UINT32 = 8,
  CORVANEBLE_FORMAT_UINT48 = 9,
  CORVANEBLE_FORMAT_UINT64 = 10,
  CORVANEBLE_FORMAT_UINT128 = 11,
  CORVANEBLE_FORMAT_SINT8 = 12,
  CORVANEBLE_FORMAT_SINT12 = 13,
  CORVANEBLE_FORMAT_SINT16 = 14,
  CORVANEBLE_FORMAT_SINT24 = 15,
  CORVANEBLE_FORMAT_SINT32 = 16,
  CORVANEBLE_FORMAT_SINT48 = 17,
  CORVANEBLE_FORMAT_SINT64 = 18,
  CORVANEBLE_FORMAT_SINT128 = 19,
  CORVANEBLE_FORMAT_FLOAT32 = 20, /**< IEEE 754 */
  CORVANEBLE_FORMAT_FLOAT64 = 21, /**< IEEE 754 */
  CORVANEBLE_FORMAT_SFLOAT = 22,  /**< IEEE 11073, 16 bits */
  CORVANEBLE_FORMAT_FLOAT = 23,   /**< IEEE 11073, 32 bits */
  CORVANEBLE_FORMAT_DUINT16 = 24, /**< two 16-bit numbers */
  CORVANEBLE_FORMAT_UTF8 = 25,
  CORVANEBLE_FORMAT_UTF16 = 26,
  CORVANEBLE_FORMAT_STRUCT = 27
};

/** How much is logged: the setting "LogLevel", and the level of a Log event. */
enum CorvaneBLE_LogLevel {
  CORVANEBLE_LOG_NONE = 0,
  CORVANEBLE_LOG_INFO = 1, /**< the default: normal progress */
  CORVANEBLE_LOG_DETAIL = 2,
  CORVANEBLE_LOG_DEBUG = 3
};

/** What a Discovered event is about. */
enum CorvaneBLE_GattType {
  CORVANEBLE_GATT_SERVICE = 0,
  CORVANEBLE_GATT_CHARACTERISTIC = 1,
  CORVANEBLE_GATT_DESCRIPTOR = 2
};

/* ---------------------------------------------------------------------------------------------
 * Instances
 * ------------------------------------------------------------------------------------------- */

/**
 * The host's event handler. The arrays have `paramCount` elements and are valid, like all they
 * point to, while the call lasts.
 *
 * Return 0. Any other value is recorded as the event error and reported by an Error event, unless
 * the handler called SetEventErrorAndCode before; the operation that raised the event goes on
 * either way. Must not throw.
 */
typedef int32_t(CORVANEBLE_CALL* CorvaneBLE_EventCallback)(void* userData, int32_t eventId,
                                                           int32_t paramCount,
                                                           const intptr_t* params,
                                                           const int32_t* lengths);

/**
 * Creates an instance; null when memory runs out. `callback` may be null (no events), `userData` is
 * its first argument ever after, `reserved` is null, `flags` is 0 or CORVANEBLE_UNICODE_EVENTS. Any
 * thread.
 */
CORVANEBLE_API CorvaneBLE_Handle CORVANEBLE_CALL CorvaneBLE_BLEClient_Create(
    CorvaneBLE_EventCallback callback, void* userData, void* reserved, int32_t flags);

/**
 * Ends whatever the instance does and frees it with every pointer it handed out. Waits for
 * callbacks in flight on other threads; may itself be called from inside a callback. Returns 0;
 * null does nothing.
 */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Destroy(CorvaneBLE_Handle client);

/**
 * Reads a property (CorvaneBLE_Property, raised by CORVANEBLE_WIDE or CORVANEBLE_BYTES_AS_WIDE as
 * needed).
 *
 * `length`, which may be null, receives the count of a byte array and of nothing else. A value that
 * cannot be had is 0 or the empty text; GetLastErrorCode tells whether that was a failure (432 for
 * a bad index), since every read sets it. `reserved` is null.
 */
CORVANEBLE_API intptr_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Get(CorvaneBLE_Handle client,
                                                                 int32_t propertyId, int32_t index,
                                                                 int32_t* length, void* reserved);

/** Writes a property; `value` is copied, `length` is not read. -1 when there is none to write. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Set(CorvaneBLE_Handle client,
                                                                int32_t propertyId, int32_t index,
                                                                intptr_t value, int32_t length);

/**
 * Calls a method (CorvaneBLE_Method, raised by CORVANEBLE_WIDE as needed). Both arrays hold one
 * element for each position that the method reads or writes, outputs included, and may be null for
 * a method without any. A number that is no method does nothing and answers 0. `reserved` is null.
 */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Do(CorvaneBLE_Handle client,
                                                               int32_t methodId, int32_t paramCount,
                                                               intptr_t* params, int32_t* lengths,
                                                               void* reserved);

/** 0 when an indexed property has an element `index`, else 280; 0 for every other property. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_CheckIndex(CorvaneBLE_Handle client,
                                                                       int32_t propertyId,
                                                                       int32_t index);

/** The text of the last failure, narrow; null for a null instance. */
CORVANEBLE_API const char* CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetLastError(CorvaneBLE_Handle client);

/** The code of the last operation, 0 after a success. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetLastErrorCode(CorvaneBLE_Handle client);

/** Replaces both; a null `text` is the empty one. Returns `code`. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_SetLastErrorAndCode(CorvaneBLE_Handle client, int32_t code, const char* text);

/** What an event handler last reported, narrow; null for a null instance. */
CORVANEBLE_API const char* CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetEventError(CorvaneBLE_Handle client);

/** The code that goes with GetEventError. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetEventErrorCode(CorvaneBLE_Handle client);

/** For handlers: reports a failure of the host's own before returning non-zero. Returns `code`. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_SetEventErrorAndCode(CorvaneBLE_Handle client, int32_t code, const char* text);

/* ---------------------------------------------------------------------------------------------
 * The library
 * ------------------------------------------------------------------------------------------- */

/** Prepares the process; loading the library has already done so. `module` is the library's module
 *  handle on Windows and unused elsewhere. Returns 0. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_StaticInit(void* module);

/** Undoes StaticInit; unloading the library does so too. No instance may be left. Returns 0. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_StaticDestroy(void);

/* ---------------------------------------------------------------------------------------------
 * Helpers for language bindings
 * ------------------------------------------------------------------------------------------- */

/**
 * A text in narrow form, UTF-16 form or both, converted on demand. Start with all fields 0 (and
 * `codePage` as wanted); change it only through EvtStr. The pointers have the machine's size, all
 * else is 32 bits wide. One thread at a time.
 */
typedef struct CorvaneBLE_EventString {
  int32_t conversionError;       /**< of the last failed conversion; every read is null meanwhile */
  uint32_t codePage;             /**< of the narrow form */
  uint32_t ownership;            /**< bits CorvaneBLE_StringOwnership */
  const char* narrow;            /**< NUL-terminated, or null */
  const CorvaneBLE_Char16* wide; /**< NUL-terminated, or null */
} CorvaneBLE_EventString;

/** Which texts of a CorvaneBLE_EventString were allocated by it. */
enum CorvaneBLE_StringOwnership { CORVANEBLE_OWNS_NARROW = 1, CORVANEBLE_OWNS_WIDE = 2 };

/** What EvtStr does. */
enum CorvaneBLE_StringMode {
  CORVANEBLE_STRING_READ = 0,   /**< returns the text in the wanted form, converting if needed */
  CORVANEBLE_STRING_ATTACH = 1, /**< stores the caller's pointer */
  CORVANEBLE_STRING_COPY = 2    /**< stores a copy; a null text clears the record */
};

/** The form of EvtStr's text. */
enum CorvaneBLE_StringForm { CORVANEBLE_STRING_NARROW = 1, CORVANEBLE_STRING_WIDE = 2 };

/**
 * Reads or replaces the text of a record. Returns the text when reading (the record's own, valid
 * until it changes; null when there is none or it cannot be converted), else null. Attaching or
 * copying the text that is already there changes nothing; any other new text frees what the record
 * owned, so copying null frees all.
 */
CORVANEBLE_API const void* CORVANEBLE_CALL CorvaneBLE_EvtStr(CorvaneBLE_EventString* record,
                                                             int32_t mode, const void* text,
                                                             int32_t form);

/** Operations of Stream. */
enum CorvaneBLE_StreamOperation {
  CORVANEBLE_STREAM_READ = 500,  /**< args[0], args[1], result */
  CORVANEBLE_STREAM_WRITE = 501, /**< args[0], args[1], result */
  CORVANEBLE_STREAM_SEEK = 502,  /**< 64-bit offset at args[0], args[1], result */
  CORVANEBLE_STREAM_FLUSH = 503,
  CORVANEBLE_STREAM_CLOSE = 504,      /**< the stream is gone afterwards */
  CORVANEBLE_STREAM_QUERY = 505,      /**< capability args[0]; a byte at `result` */
  CORVANEBLE_STREAM_GET_LENGTH = 506, /**< 64 bits at `result` */
  CORVANEBLE_STREAM_SET_LENGTH = 507, /**< 64 bits at args[0] */
  CORVANEBLE_STREAM_ERROR = 508,      /**< text pointer at `result` */
  CORVANEBLE_STREAM_ERROR_CODE = 509  /**< 32 bits at `result` */
};

/**
 * Calls an operation of a stream object made by the library. No property or method of this version
 * makes one: with null, 504 returns 0, 505 stores a 0 byte, 508 the text "Invalid stream pointer.",
 * 509 -1 (each returns 0), and all else returns -1.
 */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_Stream(void* stream, int32_t operation,
                                                         intptr_t* args, void* result);

#ifdef __cplusplus
}
#endif
