// A library without code. Loading it shows the cost of the dependencies alone.
