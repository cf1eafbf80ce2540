#!/bin/bash
# The code in the documentation compiles and prints what the pages say; the check itself finds planted faults.
set -e
"$ZT_SOURCE_DIR/scripts/check-snippets" --self-test
exec "$ZT_SOURCE_DIR/scripts/check-snippets" "$ZT_BUILD_DIR"
