"""The one exception for input that can't be converted."""

from __future__ import annotations


class GltfError(Exception):
    """The file breaks a rule of glTF, or needs what isn't read."""
