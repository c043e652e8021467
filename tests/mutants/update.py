"""The mutants of src/update: the feed, the installation of an update, what is new."""

from cpp_room import Room

ROOM = Room("update", r"src/update/.*\.(h|cpp)", ["update_test", "app_test", "simulation_test"])
