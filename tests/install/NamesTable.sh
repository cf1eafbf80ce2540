#!/bin/bash
# The table of names tells what the headers say.
exec "$ZT_SOURCE_DIR/scripts/names-table"
