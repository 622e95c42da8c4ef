"""Converts glTF 2.0 files to ZRM models; see --help.  The work is done in the package gltf_export beside it."""

import sys

from gltf_export.cli import main

if __name__ == "__main__":
    sys.exit(main())
