#!/usr/bin/env bash
# Checks that every C++ file of the repository is formatted as the repository's .clang-format
# says; names the files that are not and exits non-zero. Run clang-format -i on them to mend.
set -euo pipefail
cd "$(dirname "$0")/.."
bad=()
while IFS= read -r file; do
    clang-format --dry-run -Werror "$file" >/dev/null 2>&1 || bad+=("$file")
done < <(git ls-files '*.cpp' '*.h')
if [ "${#bad[@]}" -gt 0 ]; then
    echo "Not formatted with the repository's .clang-format:" >&2
    printf '  %s\n' "${bad[@]}" >&2
    exit 1
fi
echo "formatting: every C++ file as .clang-format says"
