"""The mutants of src/model: the published state, its history, the remedies."""

from cpp_room import Room

ROOM = Room("model", r"src/model/.*\.(h|cpp)", ["model_test", "content_test", "app_test", "simulation_test"],
            {"model_test": "RealScript.*:DecodeHistory.AgreesWithASecondReaderOnAnyDamage"})
