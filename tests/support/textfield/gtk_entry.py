#!/usr/bin/python3
# A GTK entry in a process of its own; prints its text on stdout whenever it changes.
# --ignore-paste: it drops every paste, as a field that takes no pasted text does.
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

window = Gtk.Window(title="ovrin test gtk entry")
entry = Gtk.Entry()
window.add(entry)
entry.connect("changed", lambda e: (print(e.get_text(), flush=True)))
if "--ignore-paste" in sys.argv[1:]:
    entry.connect("paste-clipboard", lambda e: e.stop_emission_by_name("paste-clipboard"))
window.connect("destroy", Gtk.main_quit)
window.show_all()
window.present()
entry.grab_focus()
Gtk.main()
