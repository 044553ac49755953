"""The way to the database, through psql and its standard variables (PGHOST, ...), and the lists of counted names."""
import subprocess
import xml.etree.ElementTree as xml

PSQL = ["psql", "-XqAtw", "-v", "ON_ERROR_STOP=1", "-v", "VERBOSITY=terse"]
SESSION = "SET client_min_messages = warning; SET search_path = collector, public; SET timezone = 'UTC';\n"


def variables(values):
    return [word for name, value in values.items() for word in ("-v", f"{name}={value}")]


def query(sql, **values):
    """What psql prints for the statements. In them :'name' is the value of that name, as a literal."""
    return subprocess.run(PSQL + variables(values), input=SESSION + sql, text=True, check=True,
                          stdout=subprocess.PIPE).stdout


def listed_names(path):
    """The names that an event filter lists. A file that is no filter is an error here, unlike in the library."""
    root = xml.parse(path).getroot()
    if root.tag != "bag":
        raise ValueError(f"{path}: not an event filter")
    names = [event.find("name") for event in root.findall("event")]
    return {name.text for name in names
            if name is not None and name.text and name.get("type", "string") == "string"}


def read_filters(arguments):
    """Product to listed names, from arguments FILE or PRODUCT=FILE. The key None holds for every product."""
    filters = {}
    for argument in arguments:
        product, _, path = argument.rpartition("=")
        filters.setdefault(product or None, set()).update(listed_names(path))
    return filters
