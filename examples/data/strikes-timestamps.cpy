      *> The same report with other numbers and a timestamp.
      *>@ page=IBM-1047
       01  STRIKE-RECORD.
           05  REPORTED-AT          PIC X(26).
      *>@ column="Flight Date"
      *>@ date="%YYYY-%MM-%DD-%HH24.%MI.%SS.%FFFFFF"
           05  AIRPORT              PIC X(40).
      *>@ column="Airport Name"
           05  AIRCRAFT             PIC X(20).
      *>@ column="Aircraft Make Model"
           05  DAMAGE               PIC X(12).
      *>@ column="Effect Amount of damage"
           05  OPERATOR             PIC X(30).
      *>@ column="Aircraft Airline Operator"
           05  ORIGIN-STATE         PIC X(16).
      *>@ column="Origin State"
           05  PHASE                PIC X(12).
      *>@ column="Phase of flight"
           05  WILDLIFE-SIZE        PIC X(6).
      *>@ column="Wildlife Size"
           05  SPECIES              PIC X(24).
      *>@ column="Wildlife Species"
           05  TIME-OF-DAY          PIC X(5).
      *>@ column="Time of day"
           05  COSTS.
               10  COST-OTHER           PIC 9(9) COMP.
      *>@ column="Cost Other"
               10  COST-REPAIR          PIC S9(10) COMP.
      *>@ column="Cost Repair"
               10  COST-TOTAL           PIC S9(9)V99.
      *>@ column="Cost Total $"
           05  SPEED-NULL           PIC X.
           05  SPEED                PIC 9(4) COMP.
      *>@ column="Speed IAS in knots" indicator=SPEED-NULL
