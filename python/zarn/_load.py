"""Models from files."""

from __future__ import annotations

import os

from zarn._errors import FileError
from zarn._model import AskedModel, PathLike


class Model(AskedModel):
    def __init__(self, name, text):
        self._name, self._text = name, text

    @property
    def name(self):
        return self._name

    def to_json(self):
        return self._text


def load(path: PathLike) -> Model:
    name = os.fspath(path)
    try:
        with open(name, encoding="utf-8", errors="surrogateescape", newline="") as file:
            return Model(name, file.read())
    except OSError as error:
        raise FileError(f"{name}: {error.strerror}") from error
