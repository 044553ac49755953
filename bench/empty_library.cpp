// A library that costs nothing but its dependencies, to be loaded beside ours.
