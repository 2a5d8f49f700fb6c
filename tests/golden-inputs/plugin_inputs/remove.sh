#!/bin/sh
rm -f "$1"
