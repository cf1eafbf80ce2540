#!/bin/bash
# The library exports what the committed list says, no more and no less.
exec "$ZT_SOURCE_DIR/scripts/exported-symbols" "$ZT_BUILD_DIR"
