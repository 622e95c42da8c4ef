"""Every call of every class, by the whole file that it leads to."""

import json
from pathlib import Path

import pytest
import zrm_inspect
from support.record_bytes import difference
from support.scripted import plain, random_script, whole_script


def check(script):
    assert script.model.save("model.zrm", 10) == ""
    found = Path("model.zrm").read_bytes()
    assert difference(script.file, found) == ""
    read = zrm_inspect.parse(found)
    assert zrm_inspect.build(json.loads(json.dumps(zrm_inspect.dump(read), allow_nan=False))) == found


def test_every_call(folder):
    plain()
    check(whole_script())


@pytest.mark.parametrize("seeds", range(0, 200, 20))
def test_random_calls(folder, seeds):
    plain()
    for seed in range(seeds, seeds + 20):
        print("seed", seed)
        check(random_script(seed))
