"""Checks plain data against typed dictionaries: what a type says is what the file must hold.

A `TypedDict` is the one place where a field of glTF has its type, for this check and for mypy alike. A null counts as a field
that isn't there; a field that no type names is nobody's business. `float` is any number that 32 bits can hold. Behind
the check a value of another type is a mistake of ours and not of the file. Its depth is that of the types, whatever the
file holds.
"""

from __future__ import annotations

from collections.abc import Callable, Hashable
from functools import cache
from typing import Required, cast, get_args, get_origin, get_type_hints, is_typeddict

from .problems import GltfError

Check = Callable[[object], None]
LARGEST = 3.4028235e38
NUMBERS = {int, float}
KINDS: dict[object, str] = {int: "whole number", float: "32-bit number", str: "text", bool: "boolean"}


class Misfit(Exception):
    """A value that is none of its form; `path` gets longer on the way out."""

    def __init__(self, text: str, path: str = "") -> None:
        super().__init__(text)
        self.text = text
        self.path = path

    def under(self, step: str) -> Misfit:
        """The same, seen from one level above."""
        return Misfit(self.text, step + self.path)


def checked[T](value: object, form: type[T], place: str) -> T:
    """The value as what its form says, or GltfError with the path in the file."""
    try:
        check_of(cast(Hashable, form))(value)
    except Misfit as misfit:
        raise GltfError(f"{(place + misfit.path).lstrip('.') or 'the JSON'}: {misfit.text}") from None
    return cast(T, value)


def is_number(value: object) -> bool:
    """A float or int that glTF's 32-bit floats can hold."""
    return isinstance(value, (int, float)) and not isinstance(value, bool) and abs(value) <= LARGEST


@cache
def check_of(form: object) -> Check:
    """What holds a value against a form."""
    if is_typeddict(form):
        return object_check(form)
    if form == list[float]:
        return numbers_check
    if get_origin(form) is list:
        return list_check(check_of(get_args(form)[0]))
    if get_origin(form) is dict:
        return dict_check(check_of(get_args(form)[1]))
    if form is object:
        return lambda value: None
    if form is float:
        return number_check
    return type_check(cast(type, form))


def number_check(value: object) -> None:
    """Any number."""
    if not is_number(value):
        raise Misfit(f"{value!r:.60} is no {KINDS[float]}")


def type_check(form: type) -> Check:
    """A text, a whole number, a boolean."""

    def check(value: object) -> None:
        if type(value) is not form:
            raise Misfit(f"{value!r:.60} is no {KINDS[form]}")

    return check


def numbers_check(value: object) -> None:
    """A list of numbers: all of them at once, and one by one only to tell which is wrong."""
    if isinstance(value, list) and NUMBERS.issuperset(map(type, value)) and (not value or -LARGEST <= min(value) <= max(value) <= LARGEST):
        return
    list_check(number_check)(value)


def list_check(inner: Check) -> Check:
    """A list of one form."""

    def check(value: object) -> None:
        if not isinstance(value, list):
            raise Misfit("no list")
        index = 0
        try:
            for index, entry in enumerate(value):
                inner(entry)
        except Misfit as misfit:
            raise misfit.under(f"[{index}]") from None

    return check


def dict_check(inner: Check) -> Check:
    """An object with any keys; extensions and extras are none of them."""

    def check(value: object) -> None:
        if not isinstance(value, dict):
            raise Misfit("no object")
        key = ""
        try:
            for key, entry in value.items():
                if key not in ("extensions", "extras"):
                    inner(entry)
        except Misfit as misfit:
            raise misfit.under(f".{key}") from None

    return check


def object_check(form: object) -> Check:
    """An object with named fields."""
    checks = {name: check_of(kind) for name, kind in get_type_hints(form).items()}
    marks = get_type_hints(form, include_extras=True)
    always = getattr(form, "__required_keys__")  # of a type that is total; marks are texts until they are asked for
    required = [name for name in checks if name in always or get_origin(marks[name]) is Required]

    def check(value: object) -> None:
        if not isinstance(value, dict):
            raise Misfit("no object")
        key = ""
        try:
            for key, entry in value.items():
                if entry is not None and key in checks:
                    checks[key](entry)
        except Misfit as misfit:
            raise misfit.under(f".{key}") from None
        for name in required:
            if value.get(name) is None:
                raise Misfit(f"no {name}")

    return check
