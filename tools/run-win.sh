#!/usr/bin/env bash
# Runs a program for Windows in the project's own prefix.
. "$(dirname "$0")/env.sh"
win "$@"
