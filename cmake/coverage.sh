#!/bin/sh
# coverage.sh BUILD CTEST LAYER...: runs the tests of some layers, and the laboratory, in a coverage build and prints
# the lines and branches of the layers that they reached.
set -eu
build="$1"
ctest="$2"
shift 2

sh cmake/install-needed.sh gcovr
find "$build" -name '*.gcda' -delete
labels=$(echo "$@" | tr ' ' '|')
"$ctest" --test-dir "$build" -L "^($labels|lab)\$" -E lab_long --output-on-failure --no-tests=error >"$build/coverage-tests.txt" ||
    { cat "$build/coverage-tests.txt"; exit 1; }
tail -n 4 "$build/coverage-tests.txt"

report() {
    gcovr -r . --object-directory "$build" --exclude-throw-branches --exclude-unreachable-branches "$@" "$build/platform"
}
report --filter 'platform/' --json "$build/coverage.json"
for layer in "$@"; do
    echo "platform/$layer:"
    report -a "$build/coverage.json" --filter "platform/$layer/" --print-summary -o "$build/coverage-$layer.txt"
    report -a "$build/coverage.json" --filter "platform/$layer/" --branches -o "$build/coverage-$layer-branches.txt"
done
