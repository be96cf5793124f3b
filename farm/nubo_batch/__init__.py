"""Cuts recordings in step into pieces, has each made by a plain call of the program, and joins them."""
