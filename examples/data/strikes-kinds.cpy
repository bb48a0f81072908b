      *> The same reports as two kinds of record of different lengths, told apart by their damage.
      *>@ page=37
       01  HARMLESS.
           05  AIRPORT              PIC X(40).
      *>@ column="Airport Name"
           05  AIRCRAFT             PIC X(20).
      *>@ column="Aircraft Make Model"
           05  DAMAGE               PIC X(12).
      *>@ column="Effect Amount of damage"
           05  FLIGHT-DATE          PIC X(11).
      *>@ column="Flight Date" date="%DD-%MMM-%YYYY"
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
           05  COST-OTHER           PIC S9(9) COMP-3.
      *>@ column="Cost Other"
           05  COST-REPAIR          PIC S9(9) COMP-3.
      *>@ column="Cost Repair"
           05  COST-TOTAL           PIC X(22).
      *>@ column="Cost Total $" number
           05  SPEED                PIC S9(5) COMP-3.
      *>@ column="Speed IAS in knots" null=blanks
       01  DAMAGING.
           05  AIRPORT              PIC X(40).
      *>@ column="Airport Name"
           05  AIRCRAFT             PIC X(20).
      *>@ column="Aircraft Make Model"
           05  DAMAGE               PIC X(12).
      *>@ column="Effect Amount of damage"
           05  FLIGHT-DATE          PIC X(11).
      *>@ column="Flight Date" date="%DD-%MMM-%YYYY"
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
           05  COST-OTHER           PIC S9(9) COMP-3.
      *>@ column="Cost Other"
           05  COST-REPAIR          PIC S9(9) COMP-3.
      *>@ column="Cost Repair"
           05  COST-TOTAL           PIC X(22).
      *>@ column="Cost Total $" number
           05  SPEED                PIC S9(5) COMP-3.
      *>@ column="Speed IAS in knots" null=blanks
           05  FILLER               PIC X(3).
