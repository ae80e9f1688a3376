#!/bin/bash
# Prints the version, which the public header alone holds.
sed -n 's/^#define TARVIK_VERSION_[A-Z]* //p' "$(dirname "$0")/../include/tarvik/tarvik.h" | paste -sd.
