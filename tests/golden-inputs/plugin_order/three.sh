#!/bin/sh
echo "after $1" >> plugins.log
