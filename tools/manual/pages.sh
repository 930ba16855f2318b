#!/bin/sh
# pages.sh FOLDER PROGRAM...: makes a man page of the program's help, ksbrain.1, and one of each verb's,
# ksbrain-replay.1. PROGRAM is the command that runs it.
set -eu

folder=$1
shift
