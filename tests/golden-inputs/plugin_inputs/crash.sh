#!/bin/sh
kill -SEGV $$
