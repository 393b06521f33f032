#!/usr/bin/env bash
# usage: run_stitch_files.sh PROGRAM FOLDER
# Paints the frames of a sweep in FOLDER, 632 columns in all, and stitches them.
set -euo pipefail
program=$1 folder=$2
rm -rf "$folder"
mkdir -p "$folder"
"$(dirname "$0")/make_frames.py" "$folder"
"$program" "$folder/panorama.ppm" "$folder"/frame*.ppm
read -r format width height _ < <(head -1 "$folder/panorama.ppm")
echo "$format $width x $height"
[ "$format" = P6 ] && [ "$width" -ge 480 ] && [ "$height" -ge 180 ]

# What is no picture is refused, and nothing is written.
for bad in "$0" "$folder/missing.ppm"; do
    if "$program" "$folder/none.ppm" "$bad" 2>/dev/null || [ -e "$folder/none.ppm" ]; then
        echo "$bad was taken for a picture"
        exit 1
    fi
done
