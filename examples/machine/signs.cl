UNITS/MM
MULTAX/ON
FEDRAT/500
$$ the tool leans towards X+ by 30 degrees, stands upright again, and leans towards Y+
RAPID
GOTO/0,0,0, 0.5,0,0.866025404
RAPID
GOTO/0,0,0, 0,0,1
RAPID
GOTO/0,0,0, 0,0.5,0.866025404
FINI
