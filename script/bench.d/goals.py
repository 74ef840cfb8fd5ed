"""What is good enough. A ratio is the product's time divided by the reference's, measured in turns."""

# (what is measured, reference): the greatest ratio.
RATIOS = {
    ("2 MiB of UTF-8 to wide", "iconv"): 1 / 0.95,
    ("2 MiB of UTF-8 to UTF-16", "iconv"): 1 / 0.95,
    ("100 bytes of UTF-8 to wide", "iconv"): 1.5,
    ("RSA-2048 signature", "same calls"): 1.02,
    ("P-256 signature", "same calls"): 1.04,
    **{(f"construction with {count} certificates on {library}", "same calls and parsing"): 1.10
       for library, counts in (("a null library", (1, 10, 100, 1000)), ("SoftHSM2", (1, 10, 100))) for count in counts},
}

# what is measured: the most nanoseconds that the product may take.
TIMES = {
    "dead statement": 10,
    "lock of one thread at a time": 40,
    "RSA-2048 signature on a null library": 3000,
    "P-256 signature on a null library": 3000,
}

# what is measured: the most allocations of the product.
ALLOCATIONS = {
    "RSA-2048 signature on a null library": 3,
    "P-256 signature on a null library": 8,
}

# (what is measured, reference) whose difference is shown and not their ratio. The socket is no part of the product: no goal.
EXTRAS = [(f"{key} signature through the socket", "in process") for key in ("RSA-2048", "RSA-3072", "P-256", "P-384")]

# Time grows as (number of certificates) to the power of at most this.
EXPONENT = 1.1

# The product's instructions grow as what they are counted over to the power of at most this.
GROWTH = 1.05

# Measured on one processor, as all else, and again where the system places the two processes.
ON_ALL_PROCESSORS = tuple(what for what, _ in EXTRAS)

# What the instruction counts of tests/bench_counts may be at most; (operation, whose code).
INSTRUCTIONS = {
    ("1000 dead statements", "all"): 12_000,
    # All questions that the platform asks for one operation.
    ("support questions for an RSA-2048 signature", "product"): 2000,
    ("support questions for a P-256 signature", "product"): 2000,
    ("support questions for a decryption", "product"): 2000,
    ("support questions for an agreement", "product"): 2000,
}
