"""Access to the database through psql, which reads PGHOST and similar variables, and to the event filters."""
import subprocess
import xml.etree.ElementTree as xml

PSQL = ["psql", "-XqAtw", "-v", "ON_ERROR_STOP=1", "-v", "VERBOSITY=terse"]
SESSION = "SET client_min_messages = warning; SET search_path = collector, public; SET timezone = 'UTC';\n"


def variables(values):
    return [word for name, value in values.items() for word in ("-v", f"{name}={value}")]


def query(sql, **values):
    """Runs the statements and returns the output of psql. In SQL, :'name' is the value of the argument name, quoted."""
    return subprocess.run(PSQL + variables(values), input=SESSION + sql, text=True, check=True,
                          stdout=subprocess.PIPE).stdout


def listed_names(path):
    """Returns the names in an event filter. Unlike the library, raises an error if the file is not a filter."""
    root = xml.parse(path).getroot()
    if root.tag != "bag":
        raise ValueError(f"{path}: not an event filter")
    names = [event.find("name") for event in root.findall("event")]
    return {name.text for name in names
            if name is not None and name.text and name.get("type", "string") == "string"}


def read_filters(arguments):
    """Maps each product to its listed names. Arguments: FILE or PRODUCT=FILE. The key None is for all products."""
    filters = {}
    for argument in arguments:
        product, _, path = argument.rpartition("=")
        filters.setdefault(product or None, set()).update(listed_names(path))
    return filters
