"""CorvaneBLE for Python 3.9 and later: one module that calls the shared library with ctypes.

    import corvaneble

    with corvaneble.Client() as client:
        client.start_scanning("180D")
        for event in client.events(corvaneble.Advertisement, seconds=5):
            print(event.server_id, event.rssi, event.name)

The library is the argument of ``load``, or the file in the environment variable CORVANEBLE_LIBRARY,
or the one that the system finds. The environment variable CORVANEBLE_RADIO selects the radio when a
Client is created: ``simulated`` needs no hardware.

Events are frozen dataclasses. ``Client.events`` returns them in order on the calling thread; this
suits most programs. ``Client.on`` sets a handler that runs immediately, on the thread of the event:
for advertisements, notifications and changes of the link and the server, this is a thread of the
library. An exception of a handler is raised again by the next call of the client (or by the call
that raised the event), on the thread of that call.

Only one thread at a time, and the handlers, may use a client. Each radio operation may take
``Client.timeout`` seconds. Ctrl-C takes effect when the call returns.
"""

from __future__ import annotations

import ctypes
import ctypes.util
import operator
import os
import queue
import sys
import threading
import traceback
import weakref
from collections.abc import Callable, Iterator
from dataclasses import dataclass, fields
from enum import IntEnum, IntFlag
from typing import Any, Optional, Union

__all__ = [
    "Client", "CorvaneBLEError", "load", "Service", "Characteristic", "Descriptor", "Flags",
    "ValueFormat", "LogLevel", "GattType", "EventStream", "Event", "Advertisement", "Connected",
    "Disconnected", "Discovered", "ErrorReport", "Log", "ServerUpdate", "StartScan", "StopScan",
    "Subscribed", "Unsubscribed", "Value", "WriteResponse",
]

STEPS_PER_SECOND = 50
"""Number of ``Client.do_events`` calls in a second of radio time; each takes at most 20 ms."""


class CorvaneBLEError(Exception):
    """A failed operation of the library: ``code`` (CorvaneBLE_Error) and ``text``."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(f"{text} (code {code})")
        self.code = code
        self.text = text


class Flags(IntFlag):
    """Properties of a characteristic."""

    BROADCAST = 0x001
    READ = 0x002
    WRITE_WITHOUT_RESPONSE = 0x004
    WRITE = 0x008
    NOTIFY = 0x010
    INDICATE = 0x020
    AUTHENTICATED_SIGNED_WRITES = 0x040
    RELIABLE_WRITES = 0x080
    WRITABLE_AUXILIARIES = 0x100


ValueFormat = IntEnum(
    "ValueFormat",
    "UNKNOWN BOOLEAN BIT2 NIBBLE UINT8 UINT12 UINT16 UINT24 UINT32 UINT48 UINT64 UINT128 "
    "SINT8 SINT12 SINT16 SINT24 SINT32 SINT48 SINT64 SINT128 FLOAT32 FLOAT64 SFLOAT FLOAT "
    "DUINT16 UTF8 UTF16 STRUCT",
    start=0, module=__name__)
ValueFormat.__doc__ = "The format of a value. All formats are little-endian."


class LogLevel(IntEnum):
    """Values of the setting "LogLevel", and of the level of a Log event."""

    NONE = 0
    INFO = 1
    DETAIL = 2
    DEBUG = 3


class GattType(IntEnum):
    """The type of attribute that a Discovered event reports."""

    SERVICE = 0
    CHARACTERISTIC = 1
    DESCRIPTOR = 2


@dataclass(frozen=True)
class Event:
    """Base of all events. The fields are the parameters of the event, in the same order."""


@dataclass(frozen=True)
class Advertisement(Event):
    """A packet was received. Commas separate the UUIDs of a list. Powers are in dBm."""

    server_id: str
    name: str
    rssi: int
    tx_power: Optional[int]
    service_uuids: str
    services_with_data: str
    solicited_service_uuids: str
    company_id: Optional[int]
    manufacturer_data: bytes
    is_connectable: bool
    is_scan_response: bool


@dataclass(frozen=True)
class Connected(Event):
    """``text`` is "OK", "Online" if a lost link is back, or the text of the error."""

    code: int
    text: str


@dataclass(frozen=True)
class Disconnected(Event):
    """``text`` is "OK", or "Offline" if the link was lost."""

    code: int
    text: str


@dataclass(frozen=True)
class Discovered(Event):
    """A service, characteristic or descriptor. Identifiers that do not apply are empty."""

    type: GattType
    service_id: str
    characteristic_id: str
    descriptor_id: str
    uuid: str
    description: str


@dataclass(frozen=True)
class ErrorReport(Event):
    """The Error event of the library."""

    code: int
    text: str


@dataclass(frozen=True)
class Log(Event):
    level: LogLevel
    message: str
    type: str


@dataclass(frozen=True)
class ServerUpdate(Event):
    """The new name of the server, or a description of changed services; the other is empty."""

    name: str
    changed_services: str


@dataclass(frozen=True)
class StartScan(Event):
    service_uuids: str


@dataclass(frozen=True)
class StopScan(Event):
    code: int
    text: str


@dataclass(frozen=True)
class Subscribed(Event):
    service_id: str
    characteristic_id: str
    uuid: str
    description: str


@dataclass(frozen=True)
class Unsubscribed(Event):
    service_id: str
    characteristic_id: str
    uuid: str
    description: str


@dataclass(frozen=True)
class Value(Event):
    """A value was read, or was received as a notification or indication."""

    service_id: str
    characteristic_id: str
    descriptor_id: str
    uuid: str
    description: str
    value: bytes


@dataclass(frozen=True)
class WriteResponse(Event):
    service_id: str
    characteristic_id: str
    descriptor_id: str
    uuid: str
    description: str


# In the order of their numbers, from 1.
_EVENTS: tuple[type[Event], ...] = (
    Advertisement, Connected, Disconnected, Discovered, ErrorReport, Log, ServerUpdate, StartScan,
    StopScan, Subscribed, Unsubscribed, Value, WriteResponse)

_TX_POWER_ABSENT = -2**31
_COMPANY_ABSENT = -1
_FAILED = -1  # code of a handler exception other than CorvaneBLEError


_Kinds = tuple[type[Event], ...]


def _text(pointer: int) -> str:
    return ctypes.string_at(pointer).decode("utf-8", "replace") if pointer else ""


def _integer(value: int) -> int:
    return ctypes.c_int32(value).value


# The conversion of a parameter (value, length) to a field, by the annotation of the field.
_CONVERTERS: dict[str, Callable[[int, int], Any]] = {
    "str": lambda value, _: _text(value),
    "bytes": lambda value, length: ctypes.string_at(value, length) if length else b"",
    "int": lambda value, _: _integer(value),
    "Optional[int]": lambda value, _: _integer(value),
    "bool": lambda value, _: bool(value),
    "GattType": lambda value, _: GattType(value),
    "LogLevel": lambda value, _: LogLevel(value),
}
_DECODERS = [(kind, [_CONVERTERS[str(field.type)] for field in fields(kind)]) for kind in _EVENTS]


def _decode(number: int, params: Any, lengths: Any) -> Event:
    kind, converters = _DECODERS[number - 1]
    values = [convert(params[i], lengths[i]) for i, convert in enumerate(converters)]
    if kind is Advertisement:
        values[3] = None if values[3] == _TX_POWER_ABSENT else values[3]
        values[7] = None if values[7] == _COMPANY_ABSENT else values[7]
    return kind(*values)


@dataclass(frozen=True)
class Service:
    id: str
    uuid: str
    description: str
    included_service_ids: tuple[str, ...]
    parent_service_ids: tuple[str, ...]


@dataclass(frozen=True)
class Characteristic:
    id: str
    uuid: str
    description: str
    flags: Flags


@dataclass(frozen=True)
class Descriptor:
    id: str
    uuid: str
    description: str


# --- The library ------------------------------------------------------------------------------

_IS_STDCALL = sys.platform == "win32" and ctypes.sizeof(ctypes.c_void_p) == 4
_CALLBACK = (ctypes.WINFUNCTYPE if _IS_STDCALL else ctypes.CFUNCTYPE)(  # type: ignore[attr-defined]
    ctypes.c_int32, ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32,
    ctypes.POINTER(ctypes.c_ssize_t), ctypes.POINTER(ctypes.c_int32))

_OUT = ctypes.c_ssize_t(0)  # an output parameter

_library: Optional[ctypes.CDLL] = None


def load(path: Optional[str] = None) -> ctypes.CDLL:
    """Loads the library once per process. A Client calls this.

    ``path`` is a file, or a name for the search of the system. Without ``path``: the file in the
    environment variable CORVANEBLE_LIBRARY, the installed library, or the one built in the same
    repository. Raises OSError if there is none.
    """
    global _library
    if _library is not None and path is None:
        return _library
    default = "corvaneble.dll" if sys.platform == "win32" else "libcorvaneble.so"
    built = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../build", default)
    name = (path or os.environ.get("CORVANEBLE_LIBRARY") or ctypes.util.find_library("corvaneble")
            or (built if os.path.exists(built) else default))
    open_library = ctypes.WinDLL if _IS_STDCALL else ctypes.CDLL  # type: ignore[attr-defined]
    try:
        library = open_library(name)
    except OSError as error:
        raise OSError(f"{error}; CORVANEBLE_LIBRARY=FILE names the library to use") from None
    handle, number, text = ctypes.c_void_p, ctypes.c_int32, ctypes.c_char_p
    numbers, values = ctypes.POINTER(number), ctypes.POINTER(ctypes.c_ssize_t)
    prototypes = {
        "Create": (handle, _CALLBACK, handle, handle, number),
        "Destroy": (number, handle),
        "Get": (ctypes.c_ssize_t, handle, number, number, numbers, handle),
        "Set": (number, handle, number, number, ctypes.c_ssize_t, number),
        "Do": (number, handle, number, number, values, numbers, handle),
        "CheckIndex": (number, handle, number, number),
        "GetLastError": (text, handle),
        "GetLastErrorCode": (number, handle),
        "GetEventError": (text, handle),
        "GetEventErrorCode": (number, handle),
        "SetEventErrorAndCode": (number, handle, number, text),
    }
    for function, (result, *arguments) in prototypes.items():
        entry = getattr(library, "CorvaneBLE_BLEClient_" + function)
        entry.restype, entry.argtypes = result, arguments
        setattr(library, function, entry)
    _library = library
    return library


# --- Properties -------------------------------------------------------------------------------


def _property(number: int, kind: Callable[[Any], Any], doc: str,
              writable: bool = False) -> property:
    """A Python property for a property of the library without an index."""

    def read(self: Client) -> Any:
        return self._get(number, 0, kind)

    def write(self: Client, value: Any) -> None:
        if isinstance(value, str) != (kind is str):
            raise TypeError(f"a {kind.__name__} is expected, not {type(value).__name__}")
        self._set(number, 0, value)

    return property(read, write if writable else None, None, doc)


def _getter(number: int, kind: Callable[[Any], Any], doc: str) -> Callable[[Client, int], Any]:
    def read(self: Client, index: int) -> Any:
        return self._get(number, index, kind)

    read.__doc__ = doc
    return read


def _setter(number: int, doc: str) -> Callable[[Client, int, Any], None]:
    def write(self: Client, index: int, value: Any) -> None:
        self._set(number, index, value)

    write.__doc__ = doc
    return write


def _list(text: str) -> tuple[str, ...]:
    return tuple(text.split(",")) if text else ()


class Client:
    """An instance of the library; a context manager. Identifiers and UUIDs are strings.

    ``on_event``, if given, is called for every event whose type has no handler (see ``on``).
    """

    def __init__(self, on_event: Optional[Callable[[Event], object]] = None) -> None:
        self._library = load()
        self._handlers: dict[type[Event], Callable[[Any], object]] = {}
        self._on_event = on_event
        self._streams: tuple[tuple[_Kinds, queue.SimpleQueue[Event]], ...] = ()
        self._lock = threading.Lock()  # for writers of the two fields above; readers need no lock
        self._raised: queue.SimpleQueue[BaseException] = queue.SimpleQueue()
        self._inside = threading.local()  # .count: running handlers on this thread
        callback = _callback_of(weakref.ref(self))
        self._handle: Optional[int] = self._library.Create(callback, None, None, 0)
        if not self._handle:
            raise MemoryError("no instance")
        # Destroys the instance even if the client is not closed, and before the interpreter exits:
        # the library must not call the interpreter afterwards. Keeps the callback alive until then.
        self._finalize = weakref.finalize(self, _end, self._library, self._handle, callback)
        self.config("CodePage=65001")

    def __enter__(self) -> Client:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], *_: object) -> None:
        if kind is None:
            self.close()
        else:
            self._destroy()
            self._print_raised()

    def __del__(self) -> None:
        if getattr(self, "_finalize", None):
            self._destroy()
            self._print_raised()

    def close(self) -> None:
        """Ends all operations. No handler runs afterwards. Raises a pending handler exception."""
        self._destroy()
        self._raise_pending()

    # Events.

    def on(self, kind: type[Event], handler: Optional[Callable[[Any], object]]) -> None:
        """Sets the handler of a type of event, or removes it (None). The handler runs on the thread
        of the event and may call any method of the client."""
        with self._lock:
            handlers = dict(self._handlers)  # a copy: other threads read the old one
            handlers.pop(kind, None)
            if handler is not None:
                handlers[kind] = handler
            self._handlers = handlers

    def events(self, *kinds: type[Event], seconds: float) -> EventStream:
        """Returns the events of the given types (without types, all events), in order. The events
        are collected from this call on. Iterating waits for at most ``seconds`` of radio time."""
        return EventStream(self, kinds or (Event,), seconds)

    def _dispatch(self, number: int, params: Any, lengths: Any) -> int:
        """Handles an event, on the thread of the event. Must not raise."""
        try:
            kind = _EVENTS[number - 1]
            handler = self._handlers.get(kind, self._on_event)
            streams = [arrived for kinds, arrived in self._streams if issubclass(kind, kinds)]
            if handler is None and not streams:
                return 0
            event = _decode(number, params, lengths)
            for arrived in streams:
                arrived.put(event)
            if handler is not None:
                self._run(handler, event)
            return 0
        except BaseException as error:  # even KeyboardInterrupt: the next call raises it
            self._raised.put(error)
            code = error.code if isinstance(error, CorvaneBLEError) else _FAILED
            text = f"{type(error).__name__}: {error}".encode("utf-8", "replace")
            return self._library.SetEventErrorAndCode(self._handle, code, text)

    def _run(self, handler: Callable[[Any], object], event: Event) -> None:
        self._inside.count = getattr(self._inside, "count", 0) + 1
        try:
            handler(event)
        finally:
            self._inside.count -= 1

    def _raise_pending(self) -> None:
        # Not inside a handler: the exception may be that of another handler.
        if not getattr(self._inside, "count", 0) and not self._raised.empty():
            raise self._raised.get()

    def _print_raised(self) -> None:
        """Prints pending handler exceptions, where they cannot be raised."""
        while not self._raised.empty():
            error = self._raised.get()
            traceback.print_exception(type(error), error, error.__traceback__)

    # Scanning.

    scanning = _property(22, bool, "Whether a scan is running.")
    active_scanning = _property(1, bool, "Whether a scan requests scan responses.", True)

    def start_scanning(self, service_uuids: str = "") -> None:
        """Starts a scan for devices that advertise all of these services (empty: for all devices).
        Does nothing during a scan."""
        self._call(13, service_uuids)

    def stop_scanning(self) -> None:
        self._call(14)

    # The server.

    server_id = _property(23, str, "Address of the server; empty if there is none.")
    server_name = _property(24, str, "Name of the server; empty if there is none.")

    def connect(self, server_id: str) -> None:
        """Selects the server by its address. Ends a scan and an earlier connection."""
        self._call(3, server_id)

    def disconnect(self) -> None:
        """Ends the connection and forgets everything discovered."""
        self._call(4)

    # Discovery.

    def discover(self, service_uuids: str = "", characteristic_uuids: str = "",
                 descriptors: bool = False, included_by: str = "") -> None:
        """Discovers services and their characteristics, and with ``descriptors`` also these."""
        self._call(5, service_uuids, characteristic_uuids, ctypes.c_ssize_t(descriptors),
                   included_by)

    def discover_services(self, uuids: str = "", included_by: str = "") -> None:
        self._call(8, uuids, included_by)

    def discover_characteristics(self, service_id: str, uuids: str = "") -> None:
        self._call(6, service_id, uuids)

    def discover_descriptors(self, service_id: str, characteristic_id: str) -> None:
        self._call(7, service_id, characteristic_id)

    def services(self) -> list[Service]:
        """Returns all discovered services."""
        return [Service(self.service_id(i), self.service_uuid(i), self.service_description(i),
                        self.service_included_svc_ids(i), self.service_parent_svc_ids(i))
                for i in range(self.service_count)]

    def characteristics(self, service_id: str) -> list[Characteristic]:
        """Selects a service and returns its characteristics."""
        self.select(service_id)
        return [Characteristic(self.characteristic_id(i), self.characteristic_uuid(i),
                               self.characteristic_description(i), self.characteristic_flags(i))
                for i in range(self.characteristic_count)]

    def descriptors(self, service_id: str, characteristic_id: str) -> list[Descriptor]:
        """Selects a characteristic and returns its descriptors."""
        self.select(service_id, characteristic_id)
        return [Descriptor(self.descriptor_id(i), self.descriptor_uuid(i),
                           self.descriptor_description(i)) for i in range(self.descriptor_count)]

    def select(self, service_id: str = "", characteristic_id: str = "") -> None:
        """Selects the service and the characteristic for indexed properties."""
        self._call(12, service_id, characteristic_id)

    service = _property(25, str, "Identifier of the selected service, or empty.", True)
    characteristic = _property(2, str, "Identifier of the selected characteristic, or empty.", True)

    service_count = _property(26, int, "Number of discovered services.")
    service_description = _getter(27, str, "The assigned name, or empty.")
    service_id = _getter(28, str, "The identifier.")
    service_included_svc_ids = _getter(29, _list, "Identifiers of the included services.")
    service_parent_svc_ids = _getter(30, _list, "Identifiers of the including services.")
    service_uuid = _getter(31, str, "The UUID.")

    characteristic_count = _property(3, int, "Length of the list of characteristics.", True)
    characteristic_cached_value = _getter(4, bytes, "The last known value.")
    characteristic_can_subscribe = _getter(5, bool, "Whether it notifies or indicates.")
    characteristic_description = _getter(6, str, "The assigned name, or empty.")
    characteristic_flags = _getter(7, Flags, "The properties of the characteristic.")
    characteristic_id = _getter(8, str, "The identifier.")
    characteristic_subscribed = _getter(9, bool, "Whether subscribed; may ask the device.")
    set_characteristic_subscribed = _setter(9, "Subscribes or unsubscribes.")
    characteristic_user_description = _getter(10, str, "The user description.")
    set_characteristic_user_description = _setter(10, "Writes the user description.")
    characteristic_uuid = _getter(11, str, "The UUID.")
    characteristic_value_exponent = _getter(12, int, "The power of ten to multiply by.")
    characteristic_value_format = _getter(13, ValueFormat, "The selected presentation format.")
    characteristic_value_format_count = _getter(14, int, "Number of presentation formats.")
    characteristic_value_format_index = _getter(15, int, "Index of the selected format, or -1.")
    set_characteristic_value_format_index = _setter(15, "Selects a presentation format.")
    characteristic_value_unit = _getter(16, str, "UUID of the unit, or empty.")

    descriptor_count = _property(17, int, "Number of descriptors of the characteristic.")
    descriptor_cached_value = _getter(18, bytes, "The last known value.")
    descriptor_description = _getter(19, str, "The assigned name, or empty.")
    descriptor_id = _getter(20, str, "The identifier.")
    descriptor_uuid = _getter(21, str, "The UUID.")

    # Values.

    def read_value(self, service_id: str, characteristic_id: str, descriptor_id: str = "") -> bytes:
        """Reads a descriptor, or the value of the characteristic, from the device."""
        params, lengths = self._call(11, service_id, characteristic_id, descriptor_id, _OUT)
        return ctypes.string_at(params[3], lengths[3]) if lengths[3] else b""

    def write_value(self, service_id: str, characteristic_id: str, value: bytes,
                    descriptor_id: str = "") -> None:
        """Writes with response."""
        self._call(17, service_id, characteristic_id, descriptor_id, _bytes(value))

    def post_value(self, service_id: str, characteristic_id: str, value: bytes) -> None:
        """Writes without response."""
        self._call(10, service_id, characteristic_id, _bytes(value))

    def subscribe(self, service_id: str, characteristic_id: str) -> None:
        """Subscribes to a characteristic. Its values arrive as Value events."""
        self._call(15, service_id, characteristic_id)

    def unsubscribe(self, service_id: str = "", characteristic_id: str = "") -> None:
        """Unsubscribes from a characteristic, from all of a service, or from everything."""
        self._call(16, service_id, characteristic_id)

    # Waiting and settings.

    timeout = _property(32, int, "Limit in seconds for each radio operation.", True)
    version = _property(0, str, "The version of the library.")

    def do_events(self) -> None:
        """Runs due work. Returns within about 20 ms."""
        self._call(9)

    def config(self, text: str) -> str:
        """Reads or writes a setting: "Name", "Name[index]" or "Name=value"."""
        params, _ = self._call(2, text, _OUT)
        return _text(params[1])

    # Calls of the library.

    def _call(self, method: int, *values: Union[str, bytes, ctypes.c_ssize_t]) -> tuple[Any, Any]:
        """Calls a method. A number must be a c_ssize_t: an int is refused, because the library
        would use it as the address of a text."""
        for value in values:
            if not isinstance(value, (str, bytes, ctypes.c_ssize_t)):
                raise TypeError(f"a text is expected, not {type(value).__name__}")
        texts = [value.encode() if isinstance(value, str) else value for value in values]
        params = (ctypes.c_ssize_t * max(len(texts), 1))()
        lengths = (ctypes.c_int32 * max(len(texts), 1))()
        for i, (value, text) in enumerate(zip(values, texts)):
            params[i] = _address(text) if isinstance(text, bytes) else text.value
            lengths[i] = len(value) if isinstance(value, bytes) else 0
        self._check(self._library.Do(self._handle, method, len(texts), params, lengths, None))
        return params, lengths

    def _get(self, number: int, index: int, kind: Callable[[Any], Any]) -> Any:
        length = ctypes.c_int32()
        index = _fits(index)
        value = self._library.Get(self._handle, number, index, ctypes.byref(length), None)
        if number:  # reading the version does not change the last error
            self._check(self._library.GetLastErrorCode(self._handle))
        if kind is bytes:
            return ctypes.string_at(value, length.value) if length.value else b""
        return kind(_text(value) if kind in (str, _list) else value)

    def _set(self, number: int, index: int, value: Union[str, int]) -> None:
        text = value.encode() if isinstance(value, str) else b""
        passed = _address(text) if isinstance(value, str) else _fits(value)
        self._check(self._library.Set(self._handle, number, _fits(index), passed, 0))

    def _check(self, code: int) -> None:
        if code:  # a pending handler exception waits for the next call
            text = self._library.GetLastError(self._handle)
            raise CorvaneBLEError(
                code, text.decode("utf-8", "replace") if text is not None else "closed")
        self._raise_pending()

    def _destroy(self) -> None:
        self._handle = None  # every function of the library checks for null
        self._finalize()


class EventStream(Iterator[Event]):
    """Iterates over events, and waits for them in ``Client.do_events``.

    Between two events the program may call any method, and it may interrupt and continue the
    iteration. The iteration ends after its time limit or after ``close``.
    """

    def __init__(self, client: Client, kinds: _Kinds, seconds: float) -> None:
        self._client = client
        self._steps = int(seconds * STEPS_PER_SECOND)
        self._arrived: queue.SimpleQueue[Event] = queue.SimpleQueue()
        with client._lock:
            client._streams += ((kinds, self._arrived),)

    def __next__(self) -> Event:
        while self._arrived.empty():
            if self._steps <= 0:
                self.close()
                raise StopIteration
            self._steps -= 1
            self._client.do_events()
        return self._arrived.get()

    def close(self) -> None:
        """Stops collecting events."""
        self._steps = 0
        with self._client._lock:
            self._client._streams = tuple(
                each for each in self._client._streams if each[1] is not self._arrived)

    __del__ = close


def _callback_of(client: weakref.ref[Client]) -> Any:
    def callback(_user: int, number: int, _count: int, params: Any, lengths: Any) -> int:
        target = client()
        return target._dispatch(number, params, lengths) if target is not None else 0

    return _CALLBACK(callback)


def _end(library: ctypes.CDLL, handle: int, _callback: Any) -> None:
    library.Destroy(handle)


def _fits(number: Any) -> int:
    """Returns an integer that has at most 32 bits, or raises OverflowError."""
    number = operator.index(number)
    if not -2**31 <= number < 2**31:
        raise OverflowError(f"{number} has more than 32 bits")
    return number


def _bytes(value: Any) -> bytes:
    if isinstance(value, (int, str)):  # bytes(5) would create five zeros
        raise TypeError(f"bytes are expected, not {type(value).__name__}")
    return bytes(value)


def _address(data: bytes) -> int:
    """Returns the address of the bytes and a following 0. Valid while ``data`` exists."""
    return ctypes.cast(ctypes.c_char_p(data), ctypes.c_void_p).value or 0
