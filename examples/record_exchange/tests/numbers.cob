      *> Prints the same numbers, read from fields of every kind.
       IDENTIFICATION DIVISION.
       PROGRAM-ID. NUMBERS.
       ENVIRONMENT DIVISION.
       INPUT-OUTPUT SECTION.
       FILE-CONTROL.
           SELECT NUMBERS ASSIGN TO "numbers.dat"
               ORGANIZATION SEQUENTIAL.
       DATA DIVISION.
       FILE SECTION.
       FD  NUMBERS.
           COPY "numbers.cpy".
       WORKING-STORAGE SECTION.
       01  AT-END-OF-FILE PIC 9 VALUE 0.
       01  SHOWN          PIC -(9)9.99.
       01  SHOWN-HALF     PIC -(4)9.
       PROCEDURE DIVISION.
           OPEN INPUT NUMBERS
           PERFORM UNTIL AT-END-OF-FILE = 1
               READ NUMBERS
                   AT END MOVE 1 TO AT-END-OF-FILE
                   NOT AT END PERFORM SHOW-RECORD
               END-READ
           END-PERFORM
           CLOSE NUMBERS
           STOP RUN.
       SHOW-RECORD.
           MOVE HALF TO SHOWN-HALF
           DISPLAY FUNCTION TRIM(SHOWN-HALF) "," WITH NO ADVANCING
           MOVE PACKED TO SHOWN
           DISPLAY FUNCTION TRIM(SHOWN) "," WITH NO ADVANCING
           MOVE FULL TO SHOWN
           DISPLAY FUNCTION TRIM(SHOWN) "," WITH NO ADVANCING
           MOVE ZONED TO SHOWN
           DISPLAY FUNCTION TRIM(SHOWN).
