#!/bin/sh
echo "before2 $1" >> plugins.log
