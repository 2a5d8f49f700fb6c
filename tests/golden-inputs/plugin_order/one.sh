#!/bin/sh
echo "before1 $1" >> plugins.log
