"""Turns glTF 2.0 scenes into ZRM models: reads them into the records of zrm_scene, which writes the model."""
