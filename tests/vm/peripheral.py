#!/usr/bin/env python3
"""The peripheral for the tests in the virtual machine: the GATT server of BlueZ on hci1, by D-Bus.

Accepts a connection for each command on the socket /run/peripheral.sock. A command is one line, and
so is the reply: "ok" or the error.

    advertise        restarts advertising, so that scanners receive the packet again
    silent           stops advertising
    notify COUNT     sends COUNT notifications, 4 bytes little-endian counting from 0
    indicate COUNT   sends COUNT indications with the same values
    name TEXT        changes the name in the advertisement
    extra on|off     adds or removes a service
    drop             ends the link
    power on|off     switches the adapter
    pairing on|off   accepts or rejects pairings of the two adapters; rejects them at first
    reset            restores the initial contents of all values
"""

import os
import socket
import struct

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

ADAPTER = "/org/bluez/hci1"
SOCKET = "/run/peripheral.sock"
ROOT = "/org/corvane/peripheral"
BASE = "5c0a{:04x}-7d2e-4b1f-9a63-1e5f2c8d7b40"
LONG = bytes(range(256)) + bytes(range(44))


def characteristic(uuid, flags, value=b"", echo=False, error=None, descriptors=()):
    return {"uuid": uuid, "flags": flags, "value": value, "echo": echo, "error": error,
            "descriptors": descriptors}


# The UUIDs, values and errors that tests/linux/linux_radio_test.cpp expects.
SERVICES = [
    (BASE.format(1), False, [], []),
    ("180f", True, [0], [
        characteristic("2a19", ["read", "write", "write-without-response", "notify"], b"\x64",
                       echo=True, descriptors=[("2901", b"Charge"),
                                               ("2904", bytes([4, 0xFF, 0xAD, 0x27, 1, 0, 0]))]),
        characteristic("2a1c", ["read", "write", "indicate", "writable-auxiliaries"], b"\x01",
                       echo=True),
        characteristic("2a1d", ["read", "write"], b"\0", error=("0x80", "NotAuthorized")),
    ]),
    (BASE.format(0x180A), True, [], [
        characteristic("2a29", ["read"], b"A manufacturer whose name is so long that one packet of "
                                         b"this link cannot carry it"),
        characteristic(BASE.format(2), ["read", "write"], LONG),
        characteristic(BASE.format(3), ["encrypt-read"], b"secret"),
        characteristic(BASE.format(4), ["notify"]),
        characteristic(BASE.format(5), ["indicate"]),
        characteristic(BASE.format(6), ["read"], b"", error=("NotPermitted", None)),
    ]),
]
EXTRA = (BASE.format(0xE), True, [], [characteristic(BASE.format(0xF), ["read"], b"extra")])

PROPERTIES = "org.freedesktop.DBus.Properties"


class BluezError(dbus.DBusException):
    """A D-Bus error that BlueZ converts to an ATT error. A name that begins with 0x is the number
    of the ATT error."""

    def __init__(self, name):
        super().__init__(name if name.startswith("0x") else "")
        self._dbus_error_name = "org.bluez.Error." + ("Failed" if name.startswith("0x") else name)


class Attribute(dbus.service.Object):
    """A service, characteristic or descriptor as a D-Bus object."""

    interface = ""

    def __init__(self, bus, path, properties):
        super().__init__(bus, path)
        self.path, self.properties = path, properties

    def everything(self):
        return {self.interface: self.properties}

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return self.properties


class Service(Attribute):
    interface = "org.bluez.GattService1"


class Characteristic(Attribute):
    interface = "org.bluez.GattCharacteristic1"

    def __init__(self, bus, path, service, wanted):
        self.wanted, self.value, self.notifying = wanted, wanted["value"], False
        super().__init__(bus, path, dbus.Dictionary({
            "UUID": wanted["uuid"], "Service": dbus.ObjectPath(service),
            "Flags": dbus.Array(wanted["flags"], signature="s")}, signature="sv"))

    @dbus.service.method(interface, in_signature="a{sv}", out_signature="ay")
    def ReadValue(self, options):
        if self.wanted["error"]:
            raise BluezError(self.wanted["error"][0])
        return dbus.ByteArray(self.value[int(options.get("offset", 0)):])

    @dbus.service.method(interface, in_signature="aya{sv}")
    def WriteValue(self, value, options):
        if self.wanted["error"]:
            raise BluezError(self.wanted["error"][1])
        offset = int(options.get("offset", 0))
        self.value = self.value[:offset] + bytes(value)
        if self.wanted["echo"] and self.notifying:
            self.send(self.value)

    @dbus.service.method(interface)
    def StartNotify(self):
        self.notifying = True

    @dbus.service.method(interface)
    def StopNotify(self):
        self.notifying = False

    @dbus.service.method(interface)
    def Confirm(self):
        pass

    @dbus.service.signal(PROPERTIES, signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass

    def send(self, value):
        self.PropertiesChanged(self.interface, {"Value": dbus.ByteArray(value)},
                               dbus.Array([], signature="s"))


class Descriptor(Attribute):
    interface = "org.bluez.GattDescriptor1"

    def __init__(self, bus, path, owner, uuid, value):
        self.value = value
        flags = ["read", "write"] if uuid == "2901" else ["read"]
        super().__init__(bus, path, dbus.Dictionary({
            "UUID": uuid, "Characteristic": dbus.ObjectPath(owner),
            "Flags": dbus.Array(flags, signature="s")}, signature="sv"))

    @dbus.service.method(interface, in_signature="a{sv}", out_signature="ay")
    def ReadValue(self, options):
        return dbus.ByteArray(self.value[int(options.get("offset", 0)):])

    @dbus.service.method(interface, in_signature="aya{sv}")
    def WriteValue(self, value, options):
        self.value = bytes(value)


class Application(dbus.service.Object):
    """A set of services that is registered with BlueZ together."""

    def __init__(self, bus, path, services):
        super().__init__(bus, path)
        self.path, self.objects, self.by_uuid = path, [], {}
        paths = [f"{path}/service{i}" for i in range(len(services))]
        for own, (uuid, primary, includes, characteristics) in zip(paths, services):
            self.objects.append(Service(bus, own, dbus.Dictionary({
                "UUID": uuid, "Primary": dbus.Boolean(primary),
                "Includes": dbus.Array([dbus.ObjectPath(paths[i]) for i in includes],
                                       signature="o")}, signature="sv")))
            for i, wanted in enumerate(characteristics):
                item = Characteristic(bus, f"{own}/char{i}", own, wanted)
                self.objects.append(item)
                self.by_uuid[wanted["uuid"]] = item
                self.objects += [Descriptor(bus, f"{item.path}/desc{j}", item.path, *descriptor)
                                 for j, descriptor in enumerate(wanted["descriptors"])]

    @dbus.service.method("org.freedesktop.DBus.ObjectManager", out_signature="a{oa{sa{sv}}}")
    def GetManagedObjects(self):
        return {dbus.ObjectPath(item.path): item.everything() for item in self.objects}


class Advertisement(Attribute):
    interface = "org.bluez.LEAdvertisement1"

    def __init__(self, bus):
        super().__init__(bus, ROOT + "/advertisement", dbus.Dictionary({
            "Type": "peripheral", "LocalName": "Conformant",
            "ServiceUUIDs": dbus.Array(["180f", "180d"], signature="s"),
            "ManufacturerData": dbus.Dictionary({dbus.UInt16(0xFFFF): dbus.ByteArray(b"\x02\x15")},
                                                signature="qv"),
            "Discoverable": dbus.Boolean(True)}, signature="sv"))

    @dbus.service.method(interface)
    def Release(self):
        pass


def bus_object(bus, path):
    return bus.get_object("org.bluez", path, introspect=False)


class Agent(dbus.service.Object):
    """Accepts or rejects a pairing, for both sides. It accepts after a delay."""

    agrees = False
    CONSIDERS = 2  # seconds until it accepts, like a person

    def answer(self, agreed, refused):
        if self.agrees:
            GLib.timeout_add_seconds(self.CONSIDERS, lambda: agreed() and False)
        else:
            refused(BluezError("Rejected"))

    @dbus.service.method("org.bluez.Agent1", in_signature="o", async_callbacks=("yes", "no"))
    def RequestAuthorization(self, device, yes, no):
        self.answer(yes, no)

    @dbus.service.method("org.bluez.Agent1", in_signature="ou", async_callbacks=("yes", "no"))
    def RequestConfirmation(self, device, passkey, yes, no):
        self.answer(yes, no)


class Peripheral:
    def __init__(self, bus):
        self.bus = bus
        self.agent = Agent(bus, ROOT + "/agent")
        self.main = Application(bus, ROOT + "/main", SERVICES)
        self.extra = Application(bus, ROOT + "/extra", [EXTRA])
        self.advertisement = Advertisement(bus)
        bus.watch_name_owner("org.bluez", self.on_owner)

    def adapter(self, interface, path=ADAPTER):
        return dbus.Interface(bus_object(self.bus, path), interface)

    def on_owner(self, owner):
        if owner:  # later: this handler must return before the bus delivers more messages
            GLib.idle_add(lambda: self.when_there(1000) and False)

    def when_there(self, tries):
        """Sets up the peripheral. Tries again while the daemon has no adapters yet."""
        try:
            self.power("on")
            manager = dbus.Interface(bus_object(self.bus, "/org/bluez"), "org.bluez.AgentManager1")
            agent = dbus.ObjectPath(ROOT + "/agent")
            self.once(manager.RegisterAgent, agent, "NoInputNoOutput")
            manager.RequestDefaultAgent(agent)
            self.once(self.call, "GattManager1", "RegisterApplication", self.main)
            self.advertise()
            if not os.path.exists(SOCKET):
                self.listen()
        except dbus.DBusException as error:
            print("not yet:", error, flush=True)
            if tries:
                GLib.timeout_add(50, lambda: self.when_there(tries - 1) and False)

    @staticmethod
    def once(method, *arguments):
        """Calls a method that an earlier attempt may have called already."""
        try:
            method(*arguments)
        except dbus.DBusException as error:
            if error.get_dbus_name() != "org.bluez.Error.AlreadyExists":
                raise

    def call(self, interface, method, item):
        arguments = [dbus.ObjectPath(item.path)]
        if method.startswith("Register"):
            arguments.append(dbus.Dictionary(signature="sv"))
        self.finish(getattr(self.adapter("org.bluez." + interface), method), *arguments)

    def power(self, state):
        self.finish(self.adapter(PROPERTIES).Set, "org.bluez.Adapter1", "Powered",
                    dbus.Boolean(state == "on", variant_level=1))

    def finish(self, method, *arguments):
        """Calls a method and runs the main loop until it returns: BlueZ calls back meanwhile."""
        done = []
        method(*arguments, reply_handler=lambda: done.append(None), error_handler=done.append,
               timeout=100)
        while not done:
            GLib.MainContext.default().iteration(True)
        if done[0]:
            raise done[0]

    def pairing(self, state):
        self.agent.agrees = state == "on"

    def reset(self):
        for item in self.main.by_uuid.values():
            item.value = item.wanted["value"]

    def silent(self):
        self.call("LEAdvertisingManager1", "UnregisterAdvertisement", self.advertisement)

    def advertise(self):
        try:
            self.silent()
        except dbus.DBusException:
            pass  # it was not advertising
        self.call("LEAdvertisingManager1", "RegisterAdvertisement", self.advertisement)

    def count(self, uuid, count):
        for number in range(int(count)):
            self.main.by_uuid[uuid].send(struct.pack("<I", number))

    def notify(self, count):
        self.count(BASE.format(4), count)

    def indicate(self, count):
        self.count(BASE.format(5), count)

    def name(self, text):
        self.advertisement.properties["LocalName"] = text
        self.advertise()

    def extra_service(self, state):
        self.call("GattManager1",
                  "RegisterApplication" if state == "on" else "UnregisterApplication", self.extra)

    def drop(self):
        objects = self.adapter("org.freedesktop.DBus.ObjectManager", "/").GetManagedObjects()
        for path, interfaces in objects.items():
            device = interfaces.get("org.bluez.Device1", {})
            if device.get("Adapter") == ADAPTER and device.get("Connected"):
                self.finish(self.adapter("org.bluez.Device1", path).Disconnect)

    def obey(self, line):
        command, _, argument = line.strip().partition(" ")
        action = {"extra": self.extra_service}.get(command) or getattr(self, command)
        try:
            action(*([argument] if argument else []))
            return "ok"
        except Exception as error:  # every error is reported to the sender of the command
            return "failed: " + str(error).replace("\n", " ")

    def listen(self):
        server = socket.socket(socket.AF_UNIX)
        server.bind(SOCKET)
        os.chmod(SOCKET, 0o777)
        server.listen()
        GLib.io_add_watch(server.fileno(), GLib.IO_IN, lambda *_: self.serve(server))
        self.server = server

    def serve(self, server):
        connection, _ = server.accept()
        with connection, connection.makefile("rw") as stream:
            reply = self.obey(stream.readline())
            print(reply, flush=True)
            stream.write(reply + "\n")
        return True


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
PERIPHERAL = Peripheral(dbus.SystemBus())
GLib.MainLoop().run()
