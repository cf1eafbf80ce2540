#!/bin/bash
# The drawing of the architecture is that of the code map; the script notices planted changes of the map.
set -e
"$ZT_SOURCE_DIR/scripts/architecture-drawing" --self-test
exec "$ZT_SOURCE_DIR/scripts/architecture-drawing" --check
