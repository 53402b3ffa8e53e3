#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the targets for a fuzzing service, with its compiler, its flags and its fuzzing engine, from this folder's project and
# the installed packages alone. The service sets SRC or starts in the project, and OUT, CXX, CXXFLAGS and LIB_FUZZING_ENGINE;
# what is not set is clang's libFuzzer with AddressSanitizer, so that it can be tried by hand:
#
#   OUT=/tmp/out tests/fuzz/oss-fuzz/build.sh
#
# Needs: clang, cmake, ninja, libcjson-dev, python3. Leaves in $OUT for each target a program, its dictionary and its inputs,
# and the library beside them, since where they run it may not be installed.
set -eu
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
: "${OUT:?where the targets are to be put}"
: "${CXX:=clang++-14}"
: "${CXXFLAGS:=-O1 -g -fno-omit-frame-pointer -fsanitize=address,fuzzer-no-link}"
: "${LIB_FUZZING_ENGINE:=-fsanitize=fuzzer}"
build=${WORK:-$OUT}/build
mkdir -p "$OUT"
cmake -S "$project" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$CXXFLAGS" -DFUZZ=ON \
    -DFUZZ_ENGINE="$LIB_FUZZING_ENGINE" -DVIRTUAL_ROUTER=OFF -DCJSON="${CJSON:-system}" \
    -DCMAKE_EXE_LINKER_FLAGS="-Wl,-rpath,'\$ORIGIN/lib'"
cmake --build "$build"
mkdir -p "$OUT/lib"
ldd "$build/fuzz_request" | awk '/libcjson/ { print $3 }' | xargs -r cp -Lt "$OUT/lib"
for program in "$build"/fuzz_*; do
    name=$(basename "$program")
    cp "$program" "$OUT/"
    cp "$build/tests/fuzz/include/tests/fuzz/protocol.dict" "$OUT/$name.dict"
    python3 - "$OUT/${name}_seed_corpus.zip" "$project/tests/fuzz/corpus/${name#fuzz_}" "$project/tests/fuzz/found/${name#fuzz_}" <<'PACK'
import pathlib
import sys
import zipfile

with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as packed:
    for folder in map(pathlib.Path, sys.argv[2:]):
        for path in sorted(folder.glob("*")):
            packed.write(path, path.name)
PACK
done
