"""What scripts/bench is made of: media, programs, rows of figures, the table."""
