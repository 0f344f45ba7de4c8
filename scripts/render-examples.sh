#!/usr/bin/env bash
# Renders the sample campaigns to docs/pictures, as the README shows them.
#   scripts/render-examples.sh [TOOL [FOLDER]]    TOOL: sorn-campaign, build/release/bin/sorn-campaign unless named;
#                                                 FOLDER: for the pictures, docs/pictures unless named
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${1:-build/release/bin/sorn-campaign}
pictures=${2:-docs/pictures}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Their pictures lie on a host that does not exist; here they come from the folder beside them.
for sample in examples/campaigns/*.json; do
  sed "s#https://images.invalid/#file://$PWD/examples/campaigns/pictures/#" "$sample" >"$folder/$(basename "$sample")"
done

# render FILE WIDTHxHEIGHT [ID]
render() {
  mkdir -p "$pictures"
  "$tool" render "$folder/$1.json" --out "$pictures/${3:-$1}.png" --size "$2" --scale 1 --font Inter ${3:+--id "$3"}
}
render full-screen 390x720
render welcome-dialog 390x460
render sheets 390x320 basket-reminder
render sheets 390x320 ask-for-push
render scrolling 390x720
render gradients 390x560
render text-styles 390x620
render stacks 390x560
render buttons 390x480
