#!/usr/bin/env bash
# The Parquet file that DuckDB wrote of our stream, as JavaScript sees it: arrow_js.sh PARQUET CSV FOLDER
# npm's parquet-wasm hands it on as an Arrow stream, which npm's apache-arrow reads; both come into FOLDER once.
set -euo pipefail
parquet=$1 csv=$2 folder=$3

command -v node >/dev/null && command -v npm >/dev/null || { echo "node or npm is missing"; exit 77; }
[[ -e $parquet ]] || { echo "there is no $parquet: the test clients.duckdb writes it"; exit 77; }
mkdir -p "$folder"
if [[ ! -e $folder/node_modules/apache-arrow || ! -e $folder/node_modules/parquet-wasm ]]; then
  npm install --silent --no-audit --no-fund --prefix "$folder" apache-arrow parquet-wasm ||
    { echo "the packages are not to be had"; exit 77; }
fi
NODE_PATH=$folder/node_modules exec node "$(dirname "$0")/arrow_js.cjs" "$parquet" "$csv"
