"""The mutants of src/app: the delegate and the item's title. A desktop runs the mains."""

from cpp_room import Room

ROOM = Room("app", r"src/app/(?!main_).*\.(h|cpp)", ["app_test", "simulation_test"])
