Dim control, reply, data
Set control = CreateObject("TlkC2.Tlkc")
WScript.Echo "status " & control.ConnectionStatus

' Without a container the control has no window, and so no connection.
WScript.Echo "connected " & control.Connect("127.0.0.1", 1371)

reply = "nothing"
control.SendReceiveTlkMsg "Question", "<Text>Anybody there?</Text>", reply, data, 500
WScript.Echo "reply " & reply
control.Disconnect
