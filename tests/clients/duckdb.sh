#!/usr/bin/env bash
# Fetches DuckDB's shared library from npm into FOLDER, once, and runs the client: duckdb.sh PROGRAM CSV FOLDER
set -euo pipefail
program=$1 csv=$2 folder=$3

command -v npm >/dev/null || { echo "npm is missing"; exit 77; }
[[ $(uname -m) == x86_64 ]] || { echo "there is no such library for this machine"; exit 77; }
mkdir -p "$folder"
library=$folder/node_modules/@duckdb/node-bindings-linux-x64/libduckdb.so
if [[ ! -e $library ]]; then
  npm install --silent --no-audit --no-fund --prefix "$folder" @duckdb/node-bindings-linux-x64 ||
    { echo "the package is not to be had"; exit 77; }
fi
"$program" "$library" "$csv" "$folder/files"
