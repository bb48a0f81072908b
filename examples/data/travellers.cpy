      *> Travellers, in the EBCDIC page that has the euro sign.
      *>@ page=IBM-1140
       01  TRAVELLER.
           05  NAME                 PIC X(20).
      *>@ column=name
           05  CITY                 PIC X(16).
      *>@ column=city
           05  GREETING             PIC X(24).
      *>@ column=greeting null=low-values
           05  BORN                 PIC X(11).
      *>@ column=born date="%DD-%MMM-%YYYY" null=blanks
           05  FARE                 PIC S9(5)V99 COMP-3.
      *>@ column=fare null=blanks
           05  VISITS               PIC 9(4) COMP OCCURS 2.
      *>@ column=visits
