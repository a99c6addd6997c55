#!/usr/bin/python3
# A GTK password entry in a process of its own, focused, holding the text of argv[1].
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

window = Gtk.Window(title="ovrin test password entry")
entry = Gtk.Entry()
entry.set_visibility(False)
entry.set_text(sys.argv[1] if len(sys.argv) > 1 else "")
window.add(entry)
window.connect("destroy", Gtk.main_quit)
window.show_all()
window.present()
entry.grab_focus()
Gtk.main()
