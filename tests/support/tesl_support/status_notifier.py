# SPDX-License-Identifier: GPL-2.0-or-later
"""A tray of the StatusNotifier protocol on the session bus: watcher and host in one, as small desktops have it."""

import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  the version comes first

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
INTERFACE = f"""
<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


class StatusNotifierTray:
    """Lives on a thread of its own, so that it answers while the test waits. Use as a context. With `host` false there
    is a watcher alone until add_host()."""

    def __init__(self, host=True):
        self._has_host = host
        self._items = []
        self._context = GLib.MainContext.new()
        self._loop = GLib.MainLoop.new(self._context, False)
        self._ready = threading.Event()
        self._thread = threading.Thread(target=self._serve)

    def __enter__(self):
        self._thread.start()
        assert self._ready.wait(20), "the tray's name is on the bus"
        return self

    def __exit__(self, *_):
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, lambda: self._loop.quit())
        self._thread.join()

    def _serve(self):
        self._context.push_thread_default()
        address = Gio.dbus_address_get_for_bus_sync(Gio.BusType.SESSION, None)
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self._bus = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        self._bus.set_exit_on_close(False)
        self._bus.register_object("/StatusNotifierWatcher", Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                                  self._on_call, self._on_get, None)
        Gio.bus_own_name_on_connection(self._bus, WATCHER, Gio.BusNameOwnerFlags.NONE,
                                       lambda *_: self._ready.set(), None)
        self._loop.run()
        self._bus.close_sync(None)
        self._context.pop_thread_default()

    def _on_call(self, _bus, sender, _path, _interface, method, parameters, invocation):
        if method == "RegisterStatusNotifierItem":
            self._items.append(sender)
            self._emit("StatusNotifierItemRegistered", GLib.Variant("(s)", (parameters.unpack()[0],)))
        invocation.return_value(None)

    def _on_get(self, _bus, _sender, _path, _interface, name):
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", self._items),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", self._has_host),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def _emit(self, signal, parameters=None):
        self._bus.emit_signal(None, "/StatusNotifierWatcher", WATCHER, signal, parameters)

    def add_host(self):
        """A panel that shows the icons comes up."""
        self._has_host = True
        self._emit("StatusNotifierHostRegistered")

    def item(self):
        """The one icon that has been registered, or None."""
        assert len(self._items) < 2, self._items
        return Item(self._items[0]) if self._items else None


class Item:
    """An icon, as the host uses it."""

    def __init__(self, owner):
        self._owner = owner
        self._bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)

    def _call(self, path, interface, method, parameters):
        return self._bus.call_sync(self._owner, path, interface, method, parameters, None, Gio.DBusCallFlags.NONE,
                                   20000, None).unpack()

    def property(self, name):
        return self._call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", (ITEM, name)))[0]

    def activate(self):
        """What the host does for a click."""
        self._call("/StatusNotifierItem", ITEM, "Activate", GLib.Variant("(ii)", (0, 0)))

    def menu(self):
        """The items of the menu: from text to number."""
        _, layout = self._call(self.property("Menu"), MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, ["label"])))
        return {properties["label"]: number for number, properties, _ in layout[2]}

    def choose(self, text):
        """What the host does for a click on an item of the menu."""
        number = self.menu()[text]
        self._call(self.property("Menu"), MENU, "Event",
                   GLib.Variant("(isvu)", (number, "clicked", GLib.Variant("i", 0), 0)))
