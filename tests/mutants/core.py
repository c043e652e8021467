"""The mutants of src/core: readings, the score, the tools' texts."""

from cpp_room import Room

ROOM = Room("core", r"src/core/.*\.(h|cpp)", ["core_test", "model_test", "content_test", "simulation_test"],
            {"core_test": "Locale.*:AnyReadings.*:Texts.AgreeWithCFormatsOnAnyNumber"})
