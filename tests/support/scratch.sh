# For scripts that are tests: "fail TEXT..." says why one has failed and ends it, and $scratch is a folder for it alone.

fail() {
  echo "$*"
  exit 1
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
