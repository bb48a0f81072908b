      *> Prints the same numbers, read from fields of every kind.
       IDENTIFICATION DIVISION.
       PROGRAM-ID. AMOUNTS.
       ENVIRONMENT DIVISION.
       INPUT-OUTPUT SECTION.
       FILE-CONTROL.
           SELECT AMOUNTS ASSIGN TO "amounts.dat"
               ORGANIZATION SEQUENTIAL.
       DATA DIVISION.
       FILE SECTION.
       FD  AMOUNTS.
           COPY "amounts.cpy".
       WORKING-STORAGE SECTION.
       01  AT-END-OF-FILE PIC 9 VALUE 0.
       01  SHOWN          PIC -(9)9.99.
       01  SHOWN-HALF     PIC -(4)9.
       PROCEDURE DIVISION.
           OPEN INPUT AMOUNTS
           PERFORM UNTIL AT-END-OF-FILE = 1
               READ AMOUNTS
                   AT END MOVE 1 TO AT-END-OF-FILE
                   NOT AT END PERFORM SHOW-RECORD
               END-READ
           END-PERFORM
           CLOSE AMOUNTS
           STOP RUN.
       SHOW-RECORD.
           MOVE N-HALF TO SHOWN-HALF
           DISPLAY FUNCTION TRIM(SHOWN-HALF) "," WITH NO ADVANCING
           MOVE N-PACKED TO SHOWN
           DISPLAY FUNCTION TRIM(SHOWN) "," WITH NO ADVANCING
           MOVE N-FULL TO SHOWN
           DISPLAY FUNCTION TRIM(SHOWN) "," WITH NO ADVANCING
           MOVE N-ZONED TO SHOWN
           DISPLAY FUNCTION TRIM(SHOWN).
