"""What the configuration says, checked before any work. Each check ends with a message that names the setting."""
import difflib
import math


def check_names(config, known):
    """known: the settings that there are. A misspelt one would otherwise be passed over."""
    for name in config:
        if name not in known:
            near = difflib.get_close_matches(str(name), known, 1)
            raise SystemExit(f"the configuration has a setting '{name}', which does not exist" +
                             (f"; did you mean {near[0]}?" if near else ""))


def check_switches(config, names):
    for name in names:
        if not isinstance(config[name], bool):
            raise SystemExit(f"{name} is '{config[name]}' and not true or false")


def text_of(config, name):
    """The text of a setting; empty when it has none."""
    return str(config[name] if config[name] is not None else "").strip()


def number_of(config, name, low, high):
    """The number of a setting, from low to high."""
    try:
        value = math.nan if isinstance(config[name], bool) else float(config[name])
    except (TypeError, ValueError):
        value = math.nan
    if not low <= value <= high:
        raise SystemExit(f"{name} is '{config[name]}' and not a number from {low:g} to {high:g}")
    return value


def count_of(config, name, low, high):
    """The whole number of a setting, from low to high."""
    value = config[name]
    if isinstance(value, bool) or not str(value).isascii() or not str(value).isdigit() or not low <= int(value) <= high:
        raise SystemExit(f"{name} is '{value}' and not a whole number from {low} to {high}")
    return int(value)


def words_of(config, name):
    """The words of a setting that is a list, or a text with commas or blanks between them."""
    value = config[name]
    if isinstance(value, (list, tuple)):
        return [str(word).strip() for word in value]
    return text_of(config, name).replace(",", " ").split()
