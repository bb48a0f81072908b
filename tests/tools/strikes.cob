      *> Prints the wildlife strikes' records, a line each.
       IDENTIFICATION DIVISION.
       PROGRAM-ID. STRIKES.
       ENVIRONMENT DIVISION.
       INPUT-OUTPUT SECTION.
       FILE-CONTROL.
           SELECT STRIKES ASSIGN TO "strikes.dat"
               ORGANIZATION SEQUENTIAL.
       DATA DIVISION.
       FILE SECTION.
       FD  STRIKES.
           COPY "strikes.cpy".
       WORKING-STORAGE SECTION.
       01  AT-END-OF-FILE PIC 9 VALUE 0.
       01  SHOWN          PIC -(9)9.
       01  SHOWN-SPEED    PIC X(10).
       01  SHOWN-OTHER    PIC X(10).
       01  SHOWN-REPAIR   PIC X(10).
       PROCEDURE DIVISION.
           OPEN INPUT STRIKES
           PERFORM UNTIL AT-END-OF-FILE = 1
               READ STRIKES
                   AT END MOVE 1 TO AT-END-OF-FILE
                   NOT AT END PERFORM SHOW-RECORD
               END-READ
           END-PERFORM
           CLOSE STRIKES
           STOP RUN.
       SHOW-RECORD.
           MOVE COST-OTHER TO SHOWN
           MOVE FUNCTION TRIM(SHOWN) TO SHOWN-OTHER
           MOVE COST-REPAIR TO SHOWN
           MOVE FUNCTION TRIM(SHOWN) TO SHOWN-REPAIR
           MOVE SPACES TO SHOWN-SPEED
           IF SPEED IS NUMERIC
               MOVE SPEED TO SHOWN
               MOVE FUNCTION TRIM(SHOWN) TO SHOWN-SPEED
           END-IF
           DISPLAY FUNCTION TRIM(AIRPORT) ","
               FUNCTION TRIM(AIRCRAFT) ","
               FUNCTION TRIM(DAMAGE) ","
               FLIGHT-DATE ","
               FUNCTION TRIM(OPERATOR) ","
               FUNCTION TRIM(SPECIES) ","
               FUNCTION TRIM(SHOWN-OTHER) ","
               FUNCTION TRIM(SHOWN-REPAIR) ","
               FUNCTION TRIM(SHOWN-SPEED).
