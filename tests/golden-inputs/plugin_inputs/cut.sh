#!/bin/sh
printf "<a>" > "$1"
exit 3
