"""Cuts recordings in step and posters into pieces, has each made by a plain call of the program, and joins them."""
