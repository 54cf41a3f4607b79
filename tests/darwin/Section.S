/* A section for the program of the tests to find in its own image. */
    .section __own_section, "a", @progbits
    .ascii "of this image"

    .section .note.GNU-stack, "", @progbits
