@BeginTemplate IfBlank
  @BeginDescription
    Use a default when a value is blank
  @EndDescription
  @BeginBody
If Trim(<<Field>>) = "" Then
Return <<Default>>
Else
Return <<Field>>
End If
  @EndBody
  @BeginParameter
    @Name=Field
    @BeginDescription
      Value to test
    @EndDescription
    @DefaultValue=^f
  @EndParameter
  @BeginParameter
    @Name=Default
    @BeginDescription
      Value to use when it is blank
    @EndDescription
    @DefaultValue=""
  @EndParameter
@EndTemplate IfBlank
@BeginTemplate TrimField
  @BeginDescription
    Remove leading and trailing spaces
  @EndDescription
  @BeginBody
Trim(<<Field>>)
  @EndBody
  @BeginParameter
    @Name=Field
    @BeginDescription
      Value to trim
    @EndDescription
    @DefaultValue=^c
  @EndParameter
@EndTemplate TrimField
@BeginTemplate PadCode
  @BeginDescription
    Trim a code and pad it on the left with zeros to a fixed length
  @EndDescription
  @BeginBody
Right(String(<<Length>>, "0") & Trim(<<Field>>), <<Length>>)
  @EndBody
  @BeginParameter
    @Name=Length
    @BeginDescription
      Length of the padded code
    @EndDescription
    @DefaultValue=10
  @EndParameter
  @BeginParameter
    @Name=Field
    @BeginDescription
      Field holding the code
    @EndDescription
    @DefaultValue=^f
  @EndParameter
@EndTemplate PadCode
@BeginTemplate DateConvert
  @BeginDescription
    Convert a date text to another format
Empty or invalid dates give the fallback
  @EndDescription
  @BeginBody
If IsDate(<<Field>>) Then
Return Format(CDate(<<Field>>), "<<Format>>")
Else
Return <<Fallback>>
End If
  @EndBody
  @BeginParameter
    @Name=Field
    @BeginDescription
      Date text to convert
    @EndDescription
    @DefaultValue=^f
  @EndParameter
  @BeginParameter
    @Name=Format
    @BeginDescription
      Output format, e.g. yyyy-mm-dd
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Fallback
    @BeginDescription
      Value for invalid dates
    @EndDescription
    @DefaultValue=""
  @EndParameter
@EndTemplate DateConvert
@BeginTemplate DateFromParts
  @BeginDescription
    Build a date from a year, month and day field
  @EndDescription
  @BeginBody
DateSerial(<<Year>>, <<Month>>, <<Day>>)
  @EndBody
  @BeginParameter
    @Name=Year
    @BeginDescription
      Year field
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Month
    @BeginDescription
      Month field
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Day
    @BeginDescription
      Day field
    @EndDescription
    @DefaultValue=^?
  @EndParameter
@EndTemplate DateFromParts
@BeginTemplate LookupCode
  @BeginDescription
    Translate a code through a fixed list
  @EndDescription
  @BeginBody
Select Case <<Field>>
Case "<<Code1>>"
Return "<<Text1>>"
Case "<<Code2>>"
Return "<<Text2>>"
Case Else
Return <<Otherwise>>
End Select
  @EndBody
  @BeginParameter
    @Name=Field
    @BeginDescription
      Code to translate
    @EndDescription
    @DefaultValue=^f
  @EndParameter
  @BeginParameter
    @Name=Code1
    @BeginDescription
      First code
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Text1
    @BeginDescription
      Text for the first code
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Code2
    @BeginDescription
      Second code
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Text2
    @BeginDescription
      Text for the second code
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Otherwise
    @BeginDescription
      Value for any other code
    @EndDescription
    @DefaultValue=^c
  @EndParameter
@EndTemplate LookupCode
@BeginTemplate LookupField
  @BeginDescription
    Take a value from a lookup record when the key is present
  @EndDescription
  @BeginBody
If <<Key>> ~ "<<Prefix>>" Then Records("<<Record>>").Fields("<<Field>>") Else <<Default>>
  @EndBody
  @BeginParameter
    @Name=Key
    @BeginDescription
      Key to look for
    @EndDescription
    @DefaultValue=^f
  @EndParameter
  @BeginParameter
    @Name=Prefix
    @BeginDescription
      Text the key must contain
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Record
    @BeginDescription
      Lookup record
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Field
    @BeginDescription
      Field of the lookup record
    @EndDescription
    @DefaultValue=^?
  @EndParameter
  @BeginParameter
    @Name=Default
    @BeginDescription
      Value when the key does not match
    @EndDescription
    @DefaultValue=^h
  @EndParameter
@EndTemplate LookupField
