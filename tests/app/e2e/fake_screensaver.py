#!/usr/bin/python3
# The desktop's screen saver on a private session bus, for the end-to-end tests: owns
# org.freedesktop.ScreenSaver, grants each Inhibit a new cookie and takes UnInhibit of a cookie
# it granted, and writes every call as a line to LOG: "Inhibit APP COOKIE", "UnInhibit COOKIE"
# ("UnInhibit-unknown COOKIE" for one it never granted). "ready" once the name is owned.
#
#   fake_screensaver.py LOG
import sys

from gi.repository import Gio, GLib

INTERFACE = """
<node>
  <interface name="org.freedesktop.ScreenSaver">
    <method name="Inhibit">
      <arg type="s" name="application_name" direction="in"/>
      <arg type="s" name="reason_for_inhibit" direction="in"/>
      <arg type="u" name="cookie" direction="out"/>
    </method>
    <method name="UnInhibit">
      <arg type="u" name="cookie" direction="in"/>
    </method>
  </interface>
</node>
"""

log = open(sys.argv[1], "a", buffering=1)
granted = set()
last_cookie = 40


def on_call(_connection, _sender, _path, _interface, method, parameters, invocation):
    global last_cookie
    if method == "Inhibit":
        last_cookie += 1
        granted.add(last_cookie)
        log.write("Inhibit %s %d\n" % (parameters[0], last_cookie))
        invocation.return_value(GLib.Variant("(u)", (last_cookie,)))
    elif method == "UnInhibit":
        cookie = parameters[0]
        if cookie in granted:
            granted.discard(cookie)
            log.write("UnInhibit %d\n" % cookie)
            invocation.return_value(None)
        else:
            log.write("UnInhibit-unknown %d\n" % cookie)
            invocation.return_dbus_error("org.freedesktop.ScreenSaver.Error", "no such cookie")


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    node = Gio.DBusNodeInfo.new_for_xml(INTERFACE)
    bus.register_object("/org/freedesktop/ScreenSaver", node.interfaces[0], on_call, None, None)
    loop = GLib.MainLoop()
    Gio.bus_own_name_on_connection(bus, "org.freedesktop.ScreenSaver",
                                   Gio.BusNameOwnerFlags.NONE,
                                   lambda *_: log.write("ready\n"),
                                   lambda *_: loop.quit())
    loop.run()


main()
