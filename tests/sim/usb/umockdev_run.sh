#!/bin/sh
# Runs a USB test program under umockdev-wrapper (given as the first
# argument).  Sanitizer builds must let umockdev's preload library come
# before their runtime.
ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}verify_asan_link_order=0"
export ASAN_OPTIONS
exec "$@"
