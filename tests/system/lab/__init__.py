"""The laboratory of the system tests: builds a guest, boots it, runs jobs in it and counts their checks."""
