#!/bin/bash
# Doxygen finds no fault in the comments and pages, and at least 95 % of the public functions are documented.
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
"$ZT_SOURCE_DIR/scripts/docs" --check "$output"
