var control = new ActiveXObject("TlkC2.Tlkc");
WScript.Echo("status " + control.ConnectionStatus);
control.SendTLKMsg("Greeting", "<Text>Kept for the next connection</Text>");
try {
  control.ConnectionStatus = 3;
} catch (refused) {
  WScript.Echo("the status is read-only");
}
control.Disconnect();
