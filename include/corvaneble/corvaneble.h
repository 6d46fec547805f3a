/*
 * CorvaneBLE: a Bluetooth Low Energy GATT client with a C interface.
 *
 * An instance scans for devices and connects to one of them, the server. It discovers the services,
 * characteristics and descriptors of the server, reads and writes their values and subscribes to
 * them. Get and Set read and write numbered properties, Do calls numbered methods, and one callback
 * receives numbered events.
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
 * - Error codes. Set, Do and CheckIndex return 0 for success or an error code (CorvaneBLE_Error).
 *   GetLastErrorCode returns the code of the last operation, GetLastError the text of the last
 *   failure: a success sets the code to 0 and leaves the text unchanged. Some codes are returned
 *   but not stored: -1 and 432 of Set, 280 of CheckIndex, and those of ConvertToWide and EvtStr. No
 *   function throws an exception.
 * - Values are pointer-sized (intptr_t). An integer or a boolean is the value itself. A text is a
 *   pointer to a NUL-terminated string. A byte array is a pointer, and the number of bytes is in
 *   the `lengths` array. A null pointer is accepted as an empty text.
 * - Text encoding. Narrow texts use the code page of the instance: the setting "CodePage", by
 *   default the code page of the system (UTF-8 on Linux). Add CORVANEBLE_WIDE to a property or
 *   method number to use UTF-16 instead (16-bit units, as char16_t).
 * - Lifetimes. The library owns every pointer that it returns, and all of them end with Disconnect
 *   or Destroy. A narrow text that describes a service, characteristic or descriptor is valid until
 *   then, whatever else is read; a user description, a unit or a list of identifiers, until it has
 *   changed and is read again. Every other pointer from Get, from Do (Config, ReadValue), from
 *   GetLastError or from GetEventError is valid until the same thread asks for the same property,
 *   method or error text again (whatever the index), or until that thread ends. The parameters of
 *   an event are valid until the callback returns.
 * - Identifiers. The identifier of a service, characteristic or descriptor has 12 hexadecimal
 *   digits: the attribute handles of the service, the characteristic and the descriptor, or "0000"
 *   for a level that does not apply. The identifier of a server is its 48-bit Bluetooth address: 12
 *   hexadecimal digits, most significant byte first. The library returns upper case and accepts
 *   both cases. In an address, two characters that are missing or not hexadecimal count as FF: a
 *   mistyped address is not refused, but Connect finds no such device (604).
 * - UUIDs are returned as 36 upper-case characters ("0000180D-0000-1000-8000-00805F9B34FB") and
 *   accepted as 4, 8 or 32 hexadecimal digits too. Commas separate the UUIDs of a list. Blanks
 *   around a UUID, and "0x" or "-" anywhere in it, are ignored. Only the number of the remaining
 *   characters is checked (600): two characters that are not hexadecimal count as FF. A call with a
 *   mistyped UUID may therefore find nothing and return 0.
 * - Threads. Only one thread of the host may use an instance at a time. Different instances are
 *   independent. Events that a method raises arrive on the calling thread, before the method
 *   returns. Advertisements, notifications, and changes of the link or the server arrive on threads
 *   of the library, at any time and concurrently. The callback may call every function, including
 *   Destroy. After Destroy has returned, no callback of the instance runs, except a callback that
 *   called Destroy itself.
 * - Waiting. Each radio operation may take `Timeout` seconds. On Windows, the calling thread
 *   dispatches its window messages while it waits.
 * - Radio. Create selects the radio by the environment variable CORVANEBLE_RADIO:
 *     auto, or not set        the Bluetooth adapter of the machine (Linux only)
 *     simulated               a built-in scene of several devices; needs no hardware
 *     simulated:FILE.json     the devices that a scenario file describes
 *     simulated:FILE.btsnoop  the advertisements that a capture file contains
 *     linux, linux:hciN       BlueZ (Linux only): the default adapter, or the named one
 *     windows                 not available yet
 *   There is no Windows radio yet: on Windows, only the simulated radio works. The choice of the
 *   radio never makes Create fail. If a radio that was selected by name is not available, its first
 *   use fails with CORVANEBLE_ERROR_PLATFORM_FAILURE (614) and a text that gives the reason. If
 *   `auto` finds no adapter, StartScanning fails with 613 and Connect with 604; a Log event of type
 *   "Radio" gives the reason where it is known.
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

/** An instance. Every function checks for null; none can detect a handle that was destroyed. */
typedef void* CorvaneBLE_Handle;

/** Add to a property or method number to pass and receive its texts as UTF-16. */
#define CORVANEBLE_WIDE 10000

/** Add to the number of a byte-array property to read the bytes as text: Get converts them from
 *  narrow text to UTF-16 and sets the length to the number of UTF-16 units. */
#define CORVANEBLE_BYTES_AS_WIDE 20000

/** Flag of Create: the texts of events are UTF-16. */
#define CORVANEBLE_UNICODE_EVENTS 1

/** The `TxPower` of an advertisement that has no transmit power level. */
#define CORVANEBLE_TX_POWER_ABSENT INT32_MIN

/** The `ManufacturerCompanyId` of an advertisement that has no manufacturer data. */
#define CORVANEBLE_COMPANY_ABSENT (-1)

/* ---------------------------------------------------------------------------------------------
 * Numbers
 * ------------------------------------------------------------------------------------------- */

/**
 * Properties. R: read only, R/W: read and write. The index of an indexed property is a position in
 * the list of services, of characteristics of the selected service, or of descriptors of the
 * selected characteristic. All other properties ignore the index.
 */
enum CorvaneBLE_Property {
  CORVANEBLE_PROPERTY_VERSION = 0, /**< text, R: "CORVANEBLE_VERSION_20_0_7928" */

  /** boolean, R/W, default 0: a scan requests scan responses. A change during a scan fails with
   *  602. */
  CORVANEBLE_PROPERTY_ACTIVE_SCANNING = 1,
  /** text, R/W: identifier of the selected characteristic; it belongs to the selected service.
   *  Setting it fills the list of descriptors. An empty text selects none. Fails with 601, or with
   *  602 if no service is selected. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC = 2,
  /** integer, R/W: length of the list. Setting a smaller length removes the last elements. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT = 3,

  /* Indexed by characteristic. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_CACHED_VALUE = 4,  /**< bytes, R: last known value */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_CAN_SUBSCRIBE = 5, /**< boolean, R: notifies or indicates */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_DESCRIPTION = 6,   /**< text, R: assigned name, or empty */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS = 7,         /**< integer, R: bits CorvaneBLE_Flag */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_ID = 8,            /**< text, R */
  /** boolean, R/W. Reading asks the device for its configuration, if it is not known. Writing
   *  subscribes or unsubscribes; it fails with 602 if the characteristic can neither notify nor
   *  indicate. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED = 9,
  /** text, R/W: the user description descriptor. Writing fails with 602 without the flag
   *  CORVANEBLE_FLAG_WRITABLE_AUXILIARIES, and with 611 without the descriptor. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION = 10,
  CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID = 11, /**< text, R */
  /** integer, R: the power of ten to multiply the value by; 0 without a presentation format. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT = 12,
  /** integer, R: CorvaneBLE_ValueFormat of the selected presentation format. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT = 13,
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_COUNT = 14, /**< integer, R */
  /** integer, R/W: index of the selected presentation format; -1 if there are none. Writing fails
   *  with 202 if there is no such format. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX = 15,
  /** text, R: UUID of the selected presentation format's unit (Assigned Numbers, 3.5), or empty. */
  CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT = 16,

  CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT = 17, /**< integer, R */

  /* Indexed by descriptor. */
  CORVANEBLE_PROPERTY_DESCRIPTOR_CACHED_VALUE = 18, /**< bytes, R: last known value */
  CORVANEBLE_PROPERTY_DESCRIPTOR_DESCRIPTION = 19,  /**< text, R: assigned name, or empty */
  CORVANEBLE_PROPERTY_DESCRIPTOR_ID = 20,           /**< text, R */
  CORVANEBLE_PROPERTY_DESCRIPTOR_UUID = 21,         /**< text, R */

  CORVANEBLE_PROPERTY_SCANNING = 22,    /**< boolean, R */
  CORVANEBLE_PROPERTY_SERVER_ID = 23,   /**< text, R: address; empty if not connected */
  CORVANEBLE_PROPERTY_SERVER_NAME = 24, /**< text, R: device name; empty if not connected */
  /** text, R/W: identifier of the selected service. Setting it deselects the characteristic and
   *  fills the list of characteristics. An empty text selects none. Fails with 601. */
  CORVANEBLE_PROPERTY_SERVICE = 25,
  CORVANEBLE_PROPERTY_SERVICE_COUNT = 26, /**< integer, R: primary and included services */

  /* Indexed by service. */
  CORVANEBLE_PROPERTY_SERVICE_DESCRIPTION = 27, /**< text, R: assigned name, or empty */
  CORVANEBLE_PROPERTY_SERVICE_ID = 28,          /**< text, R */
  /** text, R: identifiers of the services that this service includes, separated by commas. */
  CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS = 29,
  /** text, R: identifiers of the services that include this service, separated by commas. */
  CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS = 30,
  CORVANEBLE_PROPERTY_SERVICE_UUID = 31, /**< text, R */

  /** integer, R/W, default 60: limit in seconds for each radio operation; 0 means no limit. A
   *  negative value is stored as 0. */
  CORVANEBLE_PROPERTY_TIMEOUT = 32,

  /** integer, R: code page of narrow texts. The setting "CodePage" changes it. */
  CORVANEBLE_PROPERTY_CODE_PAGE = 2010
};

/**
 * Methods and their parameters, by position. "out" marks an output: the method writes it to that
 * position of `params` and `lengths`. Common errors: 202 if a required identifier is missing, 601
 * if nothing discovered has the identifier, 600 for a malformed UUID. The radio reports 301 (no
 * answer in time), 605 (not connected), 606, 607, 612, 614, 7xx and 95x.
 */
enum CorvaneBLE_Method {
  /**
   * Reads or writes a setting. 0: "Name", "Name[index]" or "Name=value"; out 1: the value as text,
   * empty after a write. Fails with -1 if there is no such setting. Names are not case-sensitive.
   *
   * Settings: AutoDiscoverCharacteristics, AutoDiscoverDescriptors, AutoDiscoverIncludedServices,
   * BuildInfo (read only), CodePage, GattObjTreeInfo (read only: a report of everything
   * discovered), IncludeRediscovered, LogLevel, PreferIndications, ScanStartedTimeout.
   *
   * ManufacturerDataCount, ManufacturerCompanyId[i], ManufacturerData[i] and ServiceData=UUID read
   * from the advertisement that is being reported: inside an Advertisement event, on the thread of
   * the event. Elsewhere they fail with 602.
   */
  CORVANEBLE_METHOD_CONFIG = 2,
  /** Selects the server. 0: address. Ends a scan and an earlier connection first. The radio link
   *  opens with the first operation that needs it. Fails with 604 if there is no such device. */
  CORVANEBLE_METHOD_CONNECT = 3,
  /** Ends the connection and forgets everything discovered. No parameters. */
  CORVANEBLE_METHOD_DISCONNECT = 4,
  /**
   * Discovers services and their characteristics. 0: UUIDs of services, empty for all; 1: UUIDs of
   * characteristics, empty for all; 2: boolean, whether to discover descriptors too; 3: identifier
   * of the service whose included services to discover, empty for the primary services. Fails with
   * 609 if services include each other in a cycle or are nested too deeply, or if the server
   * reports more attributes than a server can have.
   */
  CORVANEBLE_METHOD_DISCOVER = 5,
  /** 0: service; 1: UUIDs of characteristics, empty for all. */
  CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS = 6,
  /** 0: service; 1: characteristic. */
  CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS = 7,
  /** 0: UUIDs of services, empty for all; 1: identifier of the service whose included services to
   *  discover, empty for the primary services. */
  CORVANEBLE_METHOD_DISCOVER_SERVICES = 8,
  /** Runs due work and dispatches window messages on the calling thread. Returns within about 20
   *  ms. No parameters. */
  CORVANEBLE_METHOD_DO_EVENTS = 9,
  /** Writes without response. 0: service; 1: characteristic; 2: bytes, their count in length 2. */
  CORVANEBLE_METHOD_POST_VALUE = 10,
  /** Reads from the device. 0: service; 1: characteristic; 2: descriptor, empty for the value of
   *  the characteristic; out 3: bytes, their count in length 3. Both arrays need four elements. */
  CORVANEBLE_METHOD_READ_VALUE = 11,
  /** Selects the service and the characteristic for indexed properties. 0: service; 1:
   *  characteristic. Empty selects none. */
  CORVANEBLE_METHOD_SELECT = 12,
  /** 0: UUIDs of services: an advertisement is reported if it lists all of them; empty for every
   *  advertisement. During a scan the call does nothing and the filter stays the same. Fails with
   *  613 if there is no adapter. A success does not mean that the scan has begun: the StartScan
   *  event does. */
  CORVANEBLE_METHOD_START_SCANNING = 13,
  CORVANEBLE_METHOD_STOP_SCANNING = 14, /**< Returns when the scan has ended. No parameters. */
  /** 0: service; 1: characteristic. Its values arrive as Value events. */
  CORVANEBLE_METHOD_SUBSCRIBE = 15,
  /** 0: service; 1: characteristic, empty for all of the service. Both empty: everything. */
  CORVANEBLE_METHOD_UNSUBSCRIBE = 16,
  /** Writes with response. 0: service; 1: characteristic; 2: descriptor, empty for the value of
   *  the characteristic; 3: bytes, their count in length 3. */
  CORVANEBLE_METHOD_WRITE_VALUE = 17,
  /** Converts narrow text to UTF-16. 0: text, its bytes in length 0; 1: buffer, its capacity in
   *  UTF-16 units in length 1; out 2: number of UTF-16 units written, or needed if the capacity is
   *  0. `paramCount` must be 2, although the method uses three positions. */
  CORVANEBLE_METHOD_CONVERT_TO_WIDE = 2003
};

/**
 * Events and their parameters, by position. Types: s text, i integer, b bytes (their number is in
 * `lengths`, and a 0 byte follows them).
 */
enum CorvaneBLE_Event {
  /**
   * A packet was received; on a thread of the library. 0 s address; 1 s name, or empty; 2 i RSSI,
   * dBm; 3 i transmit power, dBm, or CORVANEBLE_TX_POWER_ABSENT; 4 s UUIDs of services; 5 s UUIDs
   * of services with data; 6 s UUIDs of solicited services; 7 i company identifier of the first
   * manufacturer section, or CORVANEBLE_COMPANY_ABSENT; 8 b data of that section; 9 i boolean,
   * whether the device is connectable; 10 i boolean, whether the packet is a scan response.
   */
  CORVANEBLE_EVENT_ADVERTISEMENT = 1,
  /** 0 i code; 1 s "OK", "Online" if a lost link is back, or the text of the error. */
  CORVANEBLE_EVENT_CONNECTED = 2,
  CORVANEBLE_EVENT_DISCONNECTED = 3, /**< 0 i code; 1 s "OK", or "Offline" if the link was lost */
  /** 0 i CorvaneBLE_GattType; 1 s service; 2 s characteristic, or empty; 3 s descriptor, or empty;
   *  4 s UUID; 5 s assigned name, or empty. */
  CORVANEBLE_EVENT_DISCOVERED = 4,
  CORVANEBLE_EVENT_ERROR = 5, /**< 0 i code; 1 s text */
  CORVANEBLE_EVENT_LOG = 6,   /**< 0 i CorvaneBLE_LogLevel; 1 s message; 2 s type */
  /** 0 s the new name of the server, or empty; 1 s a description of changed services, or empty. */
  CORVANEBLE_EVENT_SERVER_UPDATE = 7,
  CORVANEBLE_EVENT_START_SCAN = 8, /**< The scan has begun. 0 s UUIDs of its filter */
  CORVANEBLE_EVENT_STOP_SCAN = 9,  /**< 0 i code, 0 unless the scan was aborted; 1 s reason */
  /** 0 s service; 1 s characteristic; 2 s UUID; 3 s assigned name. */
  CORVANEBLE_EVENT_SUBSCRIBED = 10,
  CORVANEBLE_EVENT_UNSUBSCRIBED = 11, /**< Same parameters as Subscribed. */
  /** A value was read, or was received as a notification or indication. 0 s service; 1 s
   *  characteristic; 2 s descriptor, or empty; 3 s UUID; 4 s assigned name; 5 b value. */
  CORVANEBLE_EVENT_VALUE = 12,
  /** A write was confirmed. 0 s service; 1 s characteristic; 2 s descriptor, or empty; 3 s UUID;
   *  4 s assigned name. */
  CORVANEBLE_EVENT_WRITE_RESPONSE = 13
};

/** Error codes. Text conversions also return 87 (unknown code page), 122 (buffer too small) and
 *  1113 (text not valid in its encoding). */
enum CorvaneBLE_Error {
  CORVANEBLE_ERROR_NONE = 0,
  /** No such setting, no such property to write, or a wrong parameter count of ConvertToWide. */
  CORVANEBLE_ERROR_UNKNOWN = -1,
  CORVANEBLE_ERROR_OUT_OF_MEMORY = 200, /**< Also: the handle is null. */
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
  CORVANEBLE_ERROR_ACCESS_DENIED = 606, /**< Also: an ATT error with no code of its own. */
  CORVANEBLE_ERROR_UNREACHABLE = 607,
  CORVANEBLE_ERROR_INCLUSION_CYCLE = 609,
  CORVANEBLE_ERROR_NO_USER_DESCRIPTION = 611,
  CORVANEBLE_ERROR_APPLICATION = 612, /**< ATT errors 0x80 to 0x9F; the text has the number */
  CORVANEBLE_ERROR_NO_RADIO = 613,
  /** The operating system or its Bluetooth stack failed, or the selected radio is not available.
   *  The text is "Platform failure [0xN]: MESSAGE": the error number of the platform in
   *  hexadecimal, and its message. */
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

  /* Common profile errors: 700 plus the ATT error byte, 0xFC to 0xFF. */
  CORVANEBLE_ERROR_WRITE_REQUEST_REJECTED = 952,
  CORVANEBLE_ERROR_CCCD_IMPROPERLY_CONFIGURED = 953,
  CORVANEBLE_ERROR_PROCEDURE_ALREADY_IN_PROGRESS = 954,
  CORVANEBLE_ERROR_VALUE_OUT_OF_RANGE = 955
};

/** Properties of a characteristic: bits of CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS. */
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

/** The format of a value (Assigned Numbers, 2.4.1). All formats are little-endian. */
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

/** Values of the setting "LogLevel", and of the level of a Log event. */
enum CorvaneBLE_LogLevel {
  CORVANEBLE_LOG_NONE = 0,
  CORVANEBLE_LOG_INFO = 1, /**< the default: normal progress */
  CORVANEBLE_LOG_DETAIL = 2,
  CORVANEBLE_LOG_DEBUG = 3
};

/** The type of attribute that a Discovered event reports. */
enum CorvaneBLE_GattType {
  CORVANEBLE_GATT_SERVICE = 0,
  CORVANEBLE_GATT_CHARACTERISTIC = 1,
  CORVANEBLE_GATT_DESCRIPTOR = 2
};

/* ---------------------------------------------------------------------------------------------
 * Instances
 * ------------------------------------------------------------------------------------------- */

/**
 * The event callback of the host. `params` and `lengths` have `paramCount` elements. The arrays and
 * everything they point to are valid until the callback returns.
 *
 * Return 0 for success. Any other value is stored as the event error and reported by an Error
 * event, unless an event error is already stored (SetEventErrorAndCode). The operation that raised
 * the event continues in any case. The callback must not throw.
 */
typedef int32_t(CORVANEBLE_CALL* CorvaneBLE_EventCallback)(void* userData, int32_t eventId,
                                                           int32_t paramCount,
                                                           const intptr_t* params,
                                                           const int32_t* lengths);

/**
 * Creates an instance. Returns null if there is not enough memory. `callback` may be null: then
 * there are no events. `userData` is passed to each call of the callback. `reserved` must be null.
 * `flags` is 0 or CORVANEBLE_UNICODE_EVENTS. Any thread may call this function.
 */
CORVANEBLE_API CorvaneBLE_Handle CORVANEBLE_CALL CorvaneBLE_BLEClient_Create(
    CorvaneBLE_EventCallback callback, void* userData, void* reserved, int32_t flags);

/**
 * Ends all operations of the instance and frees it, and everything that its returned pointers refer
 * to. Waits for callbacks that run on other threads. A callback may call this function. Returns 0.
 * A null handle does nothing.
 */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Destroy(CorvaneBLE_Handle client);

/**
 * Reads a property: a CorvaneBLE_Property, plus CORVANEBLE_WIDE or CORVANEBLE_BYTES_AS_WIDE if
 * wanted.
 *
 * For a byte array, `*length` receives the number of bytes; other properties do not use it.
 * `length` may be null. After a failure the result is 0 or the empty text, and GetLastErrorCode
 * returns the error (432 for an invalid index). A read that succeeds sets that code to 0; reads of
 * properties 0 and 2010 leave it unchanged. `reserved` must be null.
 *
 * A returned narrow text of a service, characteristic or descriptor is valid until Disconnect or
 * Destroy (a user description, a unit or a list of identifiers also until it has changed and is
 * read again). Any other returned pointer is valid until the same thread reads the same property
 * again (whatever the index), until that thread ends, or until Disconnect or Destroy.
 */
CORVANEBLE_API intptr_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Get(CorvaneBLE_Handle client,
                                                                 int32_t propertyId, int32_t index,
                                                                 int32_t* length, void* reserved);

/** Writes a property. `value` is copied, `length` is ignored. Returns -1 if there is no such
 *  property or if it is read-only. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Set(CorvaneBLE_Handle client,
                                                                int32_t propertyId, int32_t index,
                                                                intptr_t value, int32_t length);

/**
 * Calls a method: a CorvaneBLE_Method, plus CORVANEBLE_WIDE if wanted. `params` and `lengths` have
 * one element for each parameter of the method, outputs included. They may be null for a method
 * without parameters. An unknown method number does nothing and returns 0. `reserved` must be null.
 *
 * A pointer that a method writes to `params` is valid until the same thread calls the same method
 * again, until that thread ends, or until Disconnect or Destroy.
 */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Do(CorvaneBLE_Handle client,
                                                               int32_t methodId, int32_t paramCount,
                                                               intptr_t* params, int32_t* lengths,
                                                               void* reserved);

/** Returns 280 if `propertyId` is an indexed property without an element `index`, otherwise 0. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_CheckIndex(CorvaneBLE_Handle client,
                                                                       int32_t propertyId,
                                                                       int32_t index);

/** Returns the text of the last failure, narrow; null for a null handle. It is valid until the same
 *  thread calls this function again, until that thread ends, or until Disconnect or Destroy. */
CORVANEBLE_API const char* CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetLastError(CorvaneBLE_Handle client);

/** Returns the code of the last operation: 0 after a success. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetLastErrorCode(CorvaneBLE_Handle client);

/** Replaces the text and the code of the last failure. A null `text` is the empty text. Returns
 *  `code`. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_SetLastErrorAndCode(CorvaneBLE_Handle client, int32_t code, const char* text);

/** Returns the text of the event error, narrow; null for a null handle. It is valid until the same
 *  thread calls this function again, until that thread ends, or until Disconnect or Destroy. */
CORVANEBLE_API const char* CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetEventError(CorvaneBLE_Handle client);

/** Returns the code of the event error. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_GetEventErrorCode(CorvaneBLE_Handle client);

/** Stores an event error; a null `text` is the empty text. A callback calls this before it returns
 *  a value other than 0, to report its own error. Returns `code`. */
CORVANEBLE_API int32_t CORVANEBLE_CALL
CorvaneBLE_BLEClient_SetEventErrorAndCode(CorvaneBLE_Handle client, int32_t code, const char* text);

/* ---------------------------------------------------------------------------------------------
 * The library
 * ------------------------------------------------------------------------------------------- */

/** Prepares the process. A host need not call this: loading the library does. `module` is not used.
 *  Returns 0. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_StaticInit(void* module);

/** Reverses StaticInit. A host need not call this: unloading the library does. All instances must
 *  have been destroyed. Returns 0. */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_StaticDestroy(void);

/* ---------------------------------------------------------------------------------------------
 * Helpers for language bindings
 * ------------------------------------------------------------------------------------------- */

/**
 * A text in narrow form, UTF-16 form or both, converted on demand. Set all fields to 0 and
 * `codePage` to the code page to use; change the record only through EvtStr after that. Only one
 * thread may use a record at a time. The integers have 32 bits, the pointers the size of a pointer.
 */
typedef struct CorvaneBLE_EventString {
  int32_t conversionError;       /**< of a failed conversion; if not 0, reads return null */
  uint32_t codePage;             /**< code page of the narrow form */
  uint32_t ownership;            /**< bits CorvaneBLE_StringOwnership */
  const char* narrow;            /**< NUL-terminated, or null */
  const CorvaneBLE_Char16* wide; /**< NUL-terminated, or null */
} CorvaneBLE_EventString;

/** The texts of a CorvaneBLE_EventString that the record allocated and frees. */
enum CorvaneBLE_StringOwnership { CORVANEBLE_OWNS_NARROW = 1, CORVANEBLE_OWNS_WIDE = 2 };

/** Operations of EvtStr. */
enum CorvaneBLE_StringMode {
  CORVANEBLE_STRING_READ = 0,   /**< return the text in the requested form; convert it if needed */
  CORVANEBLE_STRING_ATTACH = 1, /**< store the pointer; the caller keeps the text valid */
  CORVANEBLE_STRING_COPY = 2    /**< store a copy; a null text clears the record */
};

/** The form of the text that EvtStr reads or stores. */
enum CorvaneBLE_StringForm { CORVANEBLE_STRING_NARROW = 1, CORVANEBLE_STRING_WIDE = 2 };

/**
 * Reads or replaces the text of a record. `mode` is a CorvaneBLE_StringMode, `form` a
 * CorvaneBLE_StringForm.
 *
 * CORVANEBLE_STRING_READ returns the text, or null if there is none or it cannot be converted. The
 * text belongs to the record and is valid until the record changes. The other operations return
 * null. They change nothing if the new text equals the stored text of the same form; otherwise they
 * free what the record owns. To free a record, copy null.
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
  CORVANEBLE_STREAM_CLOSE = 504,      /**< frees the stream */
  CORVANEBLE_STREAM_QUERY = 505,      /**< capability args[0]; a byte at `result` */
  CORVANEBLE_STREAM_GET_LENGTH = 506, /**< 64 bits at `result` */
  CORVANEBLE_STREAM_SET_LENGTH = 507, /**< 64 bits at args[0] */
  CORVANEBLE_STREAM_ERROR = 508,      /**< text pointer at `result` */
  CORVANEBLE_STREAM_ERROR_CODE = 509  /**< 32 bits at `result` */
};

/**
 * Calls an operation of a stream object that the library returned. No property or method of this
 * version returns one. For a null `stream`, 504, 505, 508 and 509 return 0 (505 stores a 0 byte,
 * 508 the text "Invalid stream pointer.", 509 the number -1); every other operation returns -1.
 */
CORVANEBLE_API int32_t CORVANEBLE_CALL CorvaneBLE_Stream(void* stream, int32_t operation,
                                                         intptr_t* args, void* result);

#ifdef __cplusplus
}
#endif
