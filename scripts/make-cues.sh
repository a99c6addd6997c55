#!/usr/bin/env bash
# Regenerates the four feedback cues in src/audio/cues (synthesised; needs sox).
set -euo pipefail
cd "$(dirname "$0")/../src/audio/cues"
sox -n -r 22050 -b 16 -c 1 start.wav synth 0.09 sine 1760 fade q 0.005 0.09 0.07 vol 0.5
sox -n -r 22050 -b 16 -c 1 stop.wav synth 0.07 sine 520 fade q 0.004 0.07 0.05 vol 0.5
sox -n -r 22050 -b 16 -c 1 done.wav synth 0.4 sine 1046.5 sine 1568 fade q 0.005 0.4 0.3 vol 0.35 channels 1
sox -n -r 22050 -b 16 -c 1 fail.wav synth 0.3 square 147 fade q 0.01 0.3 0.15 vol 0.25
