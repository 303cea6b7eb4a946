"""Types that the stubs share."""

from typing import Generic, TypeVar

Got = TypeVar("Got", covariant=True)
Given = TypeVar("Given", contravariant=True)

class Settable(Generic[Got, Given]):
    """A property that takes more types than it gives."""

    def __get__(self, instance: object, owner: object = None) -> Got: ...
    def __set__(self, instance: object, value: Given) -> None: ...
