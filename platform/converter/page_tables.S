/* The tables that the build has written, each under its name: page_data.h. */
#define TABLE(name, file, alignment) \
  .globl name ;                      \
  .hidden name ;                     \
  .type name, %object ;              \
  .balign alignment ;                \
name: ;                              \
  .incbin file ;                     \
  .size name, . - name

  .section .rodata, "a", %progbits
  TABLE(zvrt_singles, "singles.bin", 64)
  TABLE(zvrt_pages, "pages.bin", 64)
  TABLE(zvrt_words, "words.bin", 64)
  TABLE(zvrt_shorts, "shorts.bin", 64)
  TABLE(zvrt_page_numbers, "numbers.bin", 64)

  .section .note.GNU-stack, "", %progbits
