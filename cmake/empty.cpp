// The shared library is the union of the per-folder static libraries linked whole.
