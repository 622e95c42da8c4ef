"""Scripts in a process of their own."""

import os
import subprocess
import sys
from pathlib import Path

import pyzrm_313 as zrm


def run_python(code, folder, **environment):
    """With the module, the reader and these tests on its path; a crash tells where it was."""
    path = os.pathsep.join([str(Path(zrm.__file__).parent), *sys.path])
    return subprocess.run([sys.executable, "-X", "faulthandler", "-c", code], cwd=folder,
        env={**os.environ, "PYTHONPATH": path, "PYTHONIOENCODING": "utf-8", **environment}, capture_output=True, text=True,
        encoding="utf-8", timeout=600)  # fmt: skip
