# Sourced by the scripts beside it: where the tree is, how to speak, how to build.
set -euo pipefail
self=$(realpath "$0")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Cores to build and test with; KANDREL_JOBS overrides.
jobs=${KANDREL_JOBS:-$(nproc)}

if command -v ccache >/dev/null 2>&1; then
  # CMake reads this when it first configures a build folder.
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}
fi

say() { printf '== %s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$self")" "$*" >&2; exit 1; }

# usage: prints the comment at the top of the script and ends.
usage() { awk 'NR > 1 && !/^#/ { exit } NR > 1 { sub(/^# ?/, ""); print }' "$self"; exit "${1:-0}"; }

# build PRESET [TARGET...]: configures and builds into build/PRESET.
build() {
  local preset=$1
  shift
  say "build $preset${1:+: $*}"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs" ${1:+--target "$@"}
}

# sources: every C++ file of the tree, tracked or new.
sources() {
  if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git ls-files -co --exclude-standard -- '*.h' '*.cpp' | while IFS= read -r file; do
      if [ -f "$file" ]; then printf '%s\n' "$file"; fi
    done
  else
    find kandrel apps examples tests bench fuzz \( -name '*.h' -o -name '*.cpp' \) 2>/dev/null
  fi | LC_ALL=C sort
}
