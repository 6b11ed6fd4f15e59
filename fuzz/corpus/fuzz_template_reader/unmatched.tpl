@BeginTemplate A
@BeginBody
<<a>> <<b
@EndBody
@EndTemplate A
