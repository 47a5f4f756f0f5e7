"""Values whose hash and comparison are Python code."""


class Value:
    """As its value, but it may do something each time it is hashed or compared."""

    def __init__(self, value, act=lambda: None):
        self.value, self.act = value, act

    def __hash__(self):
        self.act()
        return hash(self.value)

    def __eq__(self, other):
        self.act()
        return self.value == getattr(other, "value", other)

    def __repr__(self):
        return f"Value({self.value!r})"
