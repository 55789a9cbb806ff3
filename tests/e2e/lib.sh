# The end-to-end tests use the command-line tests' helpers.
. "$(dirname "${BASH_SOURCE[0]}")/../cli/lib.sh"
