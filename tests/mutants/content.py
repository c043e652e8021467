"""The mutants of src/ui/content: what the popover shows, as texts, colours and shares. Its sizes and fonts are seen by
the views alone: ui.py breaks them."""

from cpp_room import Room

ROOM = Room("content", r"src/ui/content/(?!popover_(fonts|sizes)\.).*\.(h|cpp)",
            ["content_test", "report_test", "simulation_test"], {"content_test": "LinuxWords.NoTextOfAnyReading*"})
