// in
mark 4#include deep.psc
mark 5
#endfile
mark 96