#!/bin/bash
# What the documentation refers to exists; the check itself finds planted faults.
set -e
"$ZT_SOURCE_DIR/scripts/check-links" --self-test
exec "$ZT_SOURCE_DIR/scripts/check-links"
