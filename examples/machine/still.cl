UNITS/MM
MULTAX/ON
FEDRAT/500
$$ the tip stays on one point, 40 mm beside the table's axis, while the tool tilts
GOTO/40,0,10, 0,0,1
GOTO/40,0,10, 0,0.5,0.866025404
GOTO/40,0,10, 0.5,0,0.866025404
FINI
